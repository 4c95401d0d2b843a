#pragma once
#include <cstdint>
#include <string>

namespace velmora {

// The key groups of an index file. Every key is one group character
// followed by a key part; IDs are written in decimal without padding.
namespace IndexKeys {
inline constexpr const char* kDocumentInfoGroup = "D";  // + "documentInfo": DocumentInfo JSON
inline constexpr const char* kItemGroup = "F";          // + ID: FSItem record
inline constexpr const char* kChildrenGroup = "C";      // + folder ID: packed delta list
inline constexpr const char* kDeadGroup = "K";          // + "dead": packed plain list
inline constexpr const char* kWordGroup = "W";          // + word: WordContainer record

inline constexpr const char* kDocumentInfoKey = "documentInfo";
inline constexpr const char* kLastAutoIDKey = "private.lastAutoID";  // under "F": u32 little-endian
inline constexpr const char* kDeadKey = "dead";

// The batch size of every prefix walk over an index.
inline constexpr std::size_t kBatchSize = 2500;

inline std::string idKey(std::uint32_t id) { return std::to_string(id); }
}  // namespace IndexKeys

}  // namespace velmora
