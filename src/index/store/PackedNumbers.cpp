#include "index/store/PackedNumbers.h"

#include <cstdio>
#include <cstdlib>

namespace velmora::PackedNumbers {

namespace {

unsigned widthFor(std::uint32_t n) {
  if (n < 0x100u) return 1;
  if (n < 0x10000u) return 2;
  if (n < 0x1000000u) return 3;
  return 4;
}

void appendBigEndian(Data& data, std::uint32_t n, unsigned width) {
  for (unsigned i = width; i-- > 0;) data.push_back(static_cast<std::uint8_t>(n >> (8 * i)));
}

}  // namespace

Data storePacked(const std::vector<std::uint32_t>& numbers) {
  Data data;
  if (numbers.empty()) return data;
  if (numbers.size() == 1 && numbers[0] < 0x10000u) {
    appendBigEndian(data, numbers[0], numbers[0] < 0x100u ? 1 : 2);
    return data;
  }
  data.reserve(numbers.size() + 2 * (numbers.size() / 255 + 1));
  std::size_t i = 0;
  while (i < numbers.size()) {
    unsigned width = widthFor(numbers[i]);
    std::size_t end = i + 1;
    while (end < numbers.size() && end - i < 255 && widthFor(numbers[end]) <= width) ++end;
    data.push_back(static_cast<std::uint8_t>(width));
    data.push_back(static_cast<std::uint8_t>(end - i));
    for (; i < end; ++i) appendBigEndian(data, numbers[i], width);
  }
  return data;
}

std::vector<std::uint32_t> unpackStored(ByteView data) {
  std::vector<std::uint32_t> numbers;
  if (data.empty()) return numbers;
  if (data.size() == 1) return {data[0]};
  if (data.size() == 2) return {static_cast<std::uint32_t>(data[0]) << 8 | data[1]};
  std::size_t offset = 0;
  while (data.size() - offset >= 2) {
    unsigned width = data[offset];
    std::size_t count = data[offset + 1];
    if (width < 1 || width > 4) break;
    if (count * width > data.size() - offset - 2) break;
    offset += 2;
    for (std::size_t k = 0; k < count; ++k) {
      std::uint32_t n = 0;
      for (unsigned b = 0; b < width; ++b) n = n << 8 | data[offset++];
      numbers.push_back(n);
    }
  }
  return numbers;
}

std::vector<std::uint32_t> differential(const std::vector<std::uint32_t>& numbers) {
  if (numbers.size() < 2) return numbers;
  std::vector<std::uint32_t> deltas;
  deltas.reserve(numbers.size());
  deltas.push_back(numbers[0]);
  for (std::size_t i = 1; i < numbers.size(); ++i) {
    std::int64_t delta = static_cast<std::int64_t>(numbers[i]) - static_cast<std::int64_t>(numbers[i - 1]);
    if (delta < 0) {
      std::fprintf(stderr, "fatal: delta list does not ascend (%u after %u)\n", numbers[i], numbers[i - 1]);
      std::abort();
    }
    deltas.push_back(static_cast<std::uint32_t>(delta));
  }
  return deltas;
}

std::vector<std::uint32_t> inverseDifferential(const std::vector<std::uint32_t>& deltas) {
  if (deltas.size() < 2) return deltas;
  std::vector<std::uint32_t> numbers;
  numbers.reserve(deltas.size());
  std::uint32_t sum = 0;
  for (std::uint32_t d : deltas) {
    sum += d;
    numbers.push_back(sum);
  }
  return numbers;
}

Data storePackedDeltas(const std::vector<std::uint32_t>& ascending) { return storePacked(differential(ascending)); }

std::vector<std::uint32_t> unpackStoredDeltas(ByteView data) { return inverseDifferential(unpackStored(data)); }

}  // namespace velmora::PackedNumbers

