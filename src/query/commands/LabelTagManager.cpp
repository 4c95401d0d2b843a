#include "query/commands/LabelTagManager.h"

#include "common/Logger.h"
#include "query/SentenceComponent.h"
#include "stores/PreferenceStore.h"
#include "common/TextCase.h"

namespace velmora {

LabelTagManager& LabelTagManager::shared() {
  static LabelTagManager manager;
  return manager;
}

std::vector<std::string> LabelTagManager::knownTags() const {
  std::set<std::string> all;
  nlohmann::json stored = PreferenceStore::shared().objectForKey(kDefaultsKey);
  if (stored.is_array())
    for (const auto& tag : stored)
      if (tag.is_string()) all.insert(TextCase::plainLowercase(tag.get<std::string>()));
  {
    std::lock_guard guard(mutex_);
    all.insert(seen_.begin(), seen_.end());
  }
  return {all.begin(), all.end()};
}

void LabelTagManager::noteSeen(const std::vector<std::string>& tags) {
  std::lock_guard guard(mutex_);
  for (const auto& tag : tags) seen_.insert(TextCase::plainLowercase(tag));
}

void LabelTagManager::save() const {
  std::set<std::string> seen;
  {
    std::lock_guard guard(mutex_);
    seen = seen_;
  }
  // Joined with the tags saved now, so tags another process saved are kept.
  Status status = PreferenceStore::shared().update(kDefaultsKey, [&seen](const nlohmann::json& current) {
    std::set<std::string> all = seen;
    if (current.is_array())
      for (const auto& tag : current)
        if (tag.is_string()) all.insert(TextCase::plainLowercase(tag.get<std::string>()));
    return std::optional<nlohmann::json>(std::vector<std::string>(all.begin(), all.end()));
  });
  if (!status.ok()) Logger::shared().log("Known tags not saved: " + status.message());
}

}  // namespace velmora
