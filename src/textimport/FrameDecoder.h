#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace velmora {

// Frames on the import helper's sockets: a 4-byte big-endian length, then
// that many bytes. Bytes arrive in any pieces; complete frames come out.
class FrameDecoder {
 public:
  enum class Next { frame, needMore, tooLong };

  explicit FrameDecoder(std::size_t maxFrameBytes) : maxFrameBytes_(maxFrameBytes) {}

  static std::string encode(std::string_view payload);

  void append(const char* data, std::size_t size) { buffer_.append(data, size); }
  // The next whole frame into `frame`; tooLong when the announced length
  // exceeds the ceiling, after which the stream can't be trusted.
  Next next(std::string& frame);
  std::size_t buffered() const { return buffer_.size() - consumed_; }

 private:
  std::size_t maxFrameBytes_;
  std::string buffer_;
  std::size_t consumed_ = 0;
};

}  // namespace velmora
