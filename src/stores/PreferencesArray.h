#pragma once
#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "stores/ChangeNotifier.h"
#include "stores/PreferenceStore.h"

namespace velmora {

// A short most-recent-first list kept in the preferences under defaultsKey
// (or only in memory without one), cut to maxElements. Subclasses translate
// between T and what the preference file can hold.
template <typename T>
class PreferencesArray {
 public:
  PreferencesArray(std::optional<std::string> defaultsKey, std::size_t maxElements)
      : defaultsKey_(std::move(defaultsKey)), maxElements_(maxElements), notifier_("PreferencesArray.DidChange") {}
  virtual ~PreferencesArray() = default;

  const std::vector<T>& contents() const { return contents_; }
  const std::optional<std::string>& defaultsKey() const { return defaultsKey_; }
  // The limit in force now; subclasses may take it from a setting.
  virtual std::size_t maxElements() const { return maxElements_; }
  void setMaxElements(std::size_t limit) {
    maxElements_ = limit;
    trim();
  }

  // An item already present moves to the front instead of appearing twice.
  void add(const T& item, bool save = true) {
    contents_.erase(std::remove(contents_.begin(), contents_.end(), item), contents_.end());
    contents_.insert(contents_.begin(), item);
    trim();
    if (save) this->save();
  }

  // Entries that cannot be translated are dropped (and so vanish at the
  // next save).
  void load() {
    contents_.clear();
    if (!defaultsKey_) return;
    nlohmann::json stored = PreferenceStore::shared().objectForKey(*defaultsKey_);
    if (!stored.is_array()) return;
    for (const auto& value : stored)
      if (auto item = toRuntimeType(value)) contents_.push_back(std::move(*item));
    trim();
  }

  void save() {
    if (defaultsKey_) {
      nlohmann::json array = nlohmann::json::array();
      for (const auto& item : contents_) array.push_back(toSaveType(item));
      PreferenceStore::shared().set(*defaultsKey_, std::move(array));
    }
    notifier_.post();
  }

  int didChange(ChangeNotifier::Handler call) { return notifier_.didChange(std::move(call)); }

 protected:
  virtual nlohmann::json toSaveType(const T& value) const { return nlohmann::json(value); }
  virtual std::optional<T> toRuntimeType(const nlohmann::json& value) const {
    try {
      return value.get<T>();
    } catch (const nlohmann::json::exception&) {
      return std::nullopt;
    }
  }

 private:
  void trim() {
    std::size_t limit = maxElements();
    while (contents_.size() > limit) contents_.pop_back();
  }

  std::vector<T> contents_;
  std::optional<std::string> defaultsKey_;
  std::size_t maxElements_;
  ChangeNotifier notifier_;
};

}  // namespace velmora
