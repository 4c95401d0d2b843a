#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace velmora {

// The flat encoding of the import helper's messages: fields of a one-byte
// tag and a value; numbers are LEB128 varints, texts a varint length and the
// bytes. Nothing nests, so a hostile message costs a bounded loop, never
// recursion.
class WireWriter {
 public:
  void number(std::uint8_t tag, std::uint64_t value) {
    out_.push_back(static_cast<char>(tag));
    varint(value);
  }
  void text(std::uint8_t tag, std::string_view value) {
    out_.push_back(static_cast<char>(tag));
    bytes(value);
  }
  void tag(std::uint8_t tag) { out_.push_back(static_cast<char>(tag)); }
  void varint(std::uint64_t value) {
    while (value >= 0x80) {
      out_.push_back(static_cast<char>((value & 0x7F) | 0x80));
      value >>= 7;
    }
    out_.push_back(static_cast<char>(value));
  }
  void bytes(std::string_view value) {
    varint(value.size());
    out_.append(value);
  }
  std::string take() { return std::move(out_); }

 private:
  std::string out_;
};

class WireReader {
 public:
  explicit WireReader(std::string_view in) : in_(in) {}
  bool atEnd() const { return at_ >= in_.size(); }
  bool tag(std::uint8_t& tag) {
    if (atEnd()) return false;
    tag = static_cast<std::uint8_t>(in_[at_++]);
    return true;
  }
  bool varint(std::uint64_t& value) {
    value = 0;
    for (int shift = 0; shift < 64; shift += 7) {
      if (atEnd()) return false;
      const auto b = static_cast<std::uint8_t>(in_[at_++]);
      value |= std::uint64_t(b & 0x7F) << shift;
      if (!(b & 0x80)) return true;
    }
    return false;
  }
  bool bytes(std::string_view& value) {
    std::uint64_t n;
    if (!varint(n) || n > in_.size() - at_) return false;
    value = in_.substr(at_, n);
    at_ += n;
    return true;
  }

 private:
  std::string_view in_;
  std::size_t at_ = 0;
};

}  // namespace velmora
