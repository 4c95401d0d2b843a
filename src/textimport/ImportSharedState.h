#pragma once
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>

namespace velmora {

// What the application and its import helper share: paths whose import must
// stop, and the progress of imports now running, each with a notification.
// The state lives in the application; in the helper a forwarder carries each
// change over the control channel to it.
class ImportSharedState {
 public:
  enum class Notification { cancel, progress };
  using Observer = std::function<void(Notification)>;
  struct Change {
    enum class Kind { removeCancel, clearCancel, setProgress, clearProgress } kind;
    std::string path;
    int percentage = 0;
  };
  using Forwarder = std::function<void(const Change&)>;

  static ImportSharedState& shared();

  void addCancel(const std::string& path);
  // Replaces the whole cancel list (the helper's copy, on a cancel message).
  void setCancelItems(std::set<std::string> paths, bool notify);
  std::set<std::string> cancelItems() const;
  void removeCancel(const std::string& path);
  void clearCancel();

  void setProgress(const std::string& path, int percentage);
  std::map<std::string, int> progress() const;
  void clearProgress(const std::string& path);

  // Applies a change that came from the helper.
  void apply(const Change& change);

  int addObserver(Observer observer);
  void removeObserver(int token);
  void setForwarder(Forwarder forwarder);

 private:
  void post(Notification notification);
  void forward(const Change& change);

  mutable std::mutex mutex_;
  std::set<std::string> cancelInfo_;
  std::map<std::string, int> progressInfo_;
  std::map<int, Observer> observers_;
  int nextToken_ = 1;
  Forwarder forwarder_;
};

}  // namespace velmora
