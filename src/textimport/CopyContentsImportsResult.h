#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "common/Result.h"

namespace velmora {

// What "copy contents" gets from a file: an error, the text, or an image's
// bytes. Crosses the process boundary with the fields "error", "text" and
// "image", each only when present.
struct CopyContentsImportsResult {
  std::optional<std::string> error;
  std::optional<std::string> text;
  std::optional<std::vector<std::uint8_t>> image;

  std::string encodedData() const;
  static Result<CopyContentsImportsResult> decode(const std::string& data);
};

}  // namespace velmora
