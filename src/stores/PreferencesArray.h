#pragma once
#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "common/Logger.h"
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
  // A saved add starts from the list as saved now, so entries another
  // process added meanwhile are kept; a failure to save is logged.
  void add(const T& item, bool save = true) {
    if (!save || !defaultsKey_) {
      putFirst(contents_, item, maxElements());
      if (save) notifier_.post();
      return;
    }
    std::size_t limit = maxElements();  // read before the store is locked
    Status status = PreferenceStore::shared().update(*defaultsKey_, [&](const nlohmann::json& current) {
      contents_ = fromStored(current, limit);
      putFirst(contents_, item, limit);
      return std::optional<nlohmann::json>(toStored(contents_));
    });
    if (!status.ok()) Logger::shared().log("Preferences: \"" + *defaultsKey_ + "\" not saved: " + status.message());
    notifier_.post();
  }

  // Entries that cannot be translated are dropped (and so vanish at the
  // next save).
  void load() {
    contents_.clear();
    if (!defaultsKey_) return;
    contents_ = fromStored(PreferenceStore::shared().objectForKey(*defaultsKey_), maxElements());
  }

  void save() {
    if (defaultsKey_) PreferenceStore::shared().set(*defaultsKey_, toStored(contents_));
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
  static void putFirst(std::vector<T>& list, const T& item, std::size_t limit) {
    list.erase(std::remove(list.begin(), list.end(), item), list.end());
    list.insert(list.begin(), item);
    while (list.size() > limit) list.pop_back();
  }
  std::vector<T> fromStored(const nlohmann::json& stored, std::size_t limit) const {
    std::vector<T> list;
    if (stored.is_array())
      for (const auto& value : stored)
        if (auto item = toRuntimeType(value)) list.push_back(std::move(*item));
    while (list.size() > limit) list.pop_back();
    return list;
  }
  nlohmann::json toStored(const std::vector<T>& list) const {
    nlohmann::json array = nlohmann::json::array();
    for (const auto& item : list) array.push_back(toSaveType(item));
    return array;
  }

  std::vector<T> contents_;
  std::optional<std::string> defaultsKey_;
  std::size_t maxElements_;
  ChangeNotifier notifier_;
};

}  // namespace velmora
