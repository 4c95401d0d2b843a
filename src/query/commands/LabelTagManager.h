#pragma once
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace velmora {

// The tag names the user is offered while typing "tag ...": a list kept in
// the preferences, merged with tags seen on files during searches. Seen
// tags are held in memory and written by save() (at quit).
class LabelTagManager {
 public:
  static constexpr const char* kDefaultsKey = "LabelTagManager:knownTags";

  static LabelTagManager& shared();

  // Lowercased, sorted, without repeats.
  std::vector<std::string> knownTags() const;
  // Safe from any thread.
  void noteSeen(const std::vector<std::string>& tags);
  void save() const;

 private:
  mutable std::mutex mutex_;
  std::set<std::string> seen_;
};

}  // namespace velmora
