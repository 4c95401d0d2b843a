#include "textimport/FrameDecoder.h"

namespace velmora {

std::string FrameDecoder::encode(std::string_view payload) {
  std::string out;
  out.reserve(payload.size() + 4);
  const auto n = static_cast<std::uint32_t>(payload.size());
  out.push_back(static_cast<char>(n >> 24));
  out.push_back(static_cast<char>(n >> 16));
  out.push_back(static_cast<char>(n >> 8));
  out.push_back(static_cast<char>(n));
  out.append(payload);
  return out;
}

FrameDecoder::Next FrameDecoder::next(std::string& frame) {
  if (buffer_.size() - consumed_ < 4) return Next::needMore;
  const auto* b = reinterpret_cast<const unsigned char*>(buffer_.data() + consumed_);
  const std::size_t length = (std::size_t(b[0]) << 24) | (std::size_t(b[1]) << 16) | (std::size_t(b[2]) << 8) | b[3];
  if (length > maxFrameBytes_) return Next::tooLong;
  if (buffer_.size() - consumed_ - 4 < length) return Next::needMore;
  frame.assign(buffer_, consumed_ + 4, length);
  consumed_ += 4 + length;
  // Drop what was read once it is most of the buffer, not at every frame.
  if (consumed_ > 65536 && consumed_ * 2 > buffer_.size()) {
    buffer_.erase(0, consumed_);
    consumed_ = 0;
  } else if (consumed_ == buffer_.size()) {
    buffer_.clear();
    consumed_ = 0;
  }
  return Next::frame;
}

}  // namespace velmora
