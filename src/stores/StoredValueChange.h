#pragma once
#include <functional>
#include <optional>
#include <string_view>

#include <nlohmann/json.hpp>

#include "common/Result.h"
#include "stores/ChangeNotifier.h"
#include "stores/PreferenceStore.h"

namespace velmora {

// One change of a list kept under one preference key: the list is read anew
// from what is on disk now (another process may have changed it), edited,
// and written back under the store's lock; observers hear of it only when
// the edit changed something. `cached` is the owner's copy, left as saved.
template <typename Value, typename FromJSON, typename ToJSON>
Status changeStoredValue(std::string_view key, Value& cached, FromJSON fromJSON, ToJSON toJSON,
                         const std::function<bool(Value&)>& edit, const ChangeNotifier& notifier) {
  bool changed = false;
  Status status = PreferenceStore::shared().update(key, [&](const nlohmann::json& current) -> std::optional<nlohmann::json> {
    cached = fromJSON(current);
    changed = edit(cached);
    if (!changed) return std::nullopt;
    return toJSON(cached);
  });
  if (changed) notifier.post();
  return status;
}

}  // namespace velmora
