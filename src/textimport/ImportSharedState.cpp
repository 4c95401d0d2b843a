#include "textimport/ImportSharedState.h"

#include <vector>

namespace velmora {

ImportSharedState& ImportSharedState::shared() {
  static ImportSharedState state;
  return state;
}

void ImportSharedState::addCancel(const std::string& path) {
  {
    std::lock_guard guard(mutex_);
    cancelInfo_.insert(path);
  }
  post(Notification::cancel);
}

void ImportSharedState::setCancelItems(std::set<std::string> paths, bool notify) {
  {
    std::lock_guard guard(mutex_);
    cancelInfo_ = std::move(paths);
  }
  if (notify) post(Notification::cancel);
}

std::set<std::string> ImportSharedState::cancelItems() const {
  std::lock_guard guard(mutex_);
  return cancelInfo_;
}

void ImportSharedState::removeCancel(const std::string& path) {
  {
    std::lock_guard guard(mutex_);
    cancelInfo_.erase(path);
  }
  forward({Change::Kind::removeCancel, path, 0});
}

void ImportSharedState::clearCancel() {
  {
    std::lock_guard guard(mutex_);
    cancelInfo_.clear();
  }
  forward({Change::Kind::clearCancel, {}, 0});
}

void ImportSharedState::setProgress(const std::string& path, int percentage) {
  {
    std::lock_guard guard(mutex_);
    progressInfo_[path] = percentage;
  }
  forward({Change::Kind::setProgress, path, percentage});
  post(Notification::progress);
}

std::map<std::string, int> ImportSharedState::progress() const {
  std::lock_guard guard(mutex_);
  return progressInfo_;
}

void ImportSharedState::clearProgress(const std::string& path) {
  {
    std::lock_guard guard(mutex_);
    progressInfo_.erase(path);
  }
  forward({Change::Kind::clearProgress, path, 0});
}

void ImportSharedState::apply(const Change& change) {
  switch (change.kind) {
    case Change::Kind::removeCancel: removeCancel(change.path); break;
    case Change::Kind::clearCancel: clearCancel(); break;
    case Change::Kind::setProgress: setProgress(change.path, change.percentage); break;
    case Change::Kind::clearProgress: clearProgress(change.path); break;
  }
}

int ImportSharedState::addObserver(Observer observer) {
  std::lock_guard guard(mutex_);
  observers_[nextToken_] = std::move(observer);
  return nextToken_++;
}

void ImportSharedState::removeObserver(int token) {
  std::lock_guard guard(mutex_);
  observers_.erase(token);
}

void ImportSharedState::setForwarder(Forwarder forwarder) {
  std::lock_guard guard(mutex_);
  forwarder_ = std::move(forwarder);
}

void ImportSharedState::post(Notification notification) {
  std::vector<Observer> observers;
  {
    std::lock_guard guard(mutex_);
    for (auto& [token, observer] : observers_) observers.push_back(observer);
  }
  for (auto& observer : observers) observer(notification);
}

void ImportSharedState::forward(const Change& change) {
  Forwarder forwarder;
  {
    std::lock_guard guard(mutex_);
    forwarder = forwarder_;
  }
  if (forwarder) forwarder(change);
}

}  // namespace velmora
