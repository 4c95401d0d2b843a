// The import helper's frame decoder and message reader on arbitrary bytes, as
// either end of the helper's sockets receives them: the first byte picks the
// ceiling and the sizes of the pieces the bytes arrive in. Whatever decodes
// must encode and decode to the same.
// sources: src/textimport/FrameDecoder.cpp src/textimport/ImportMessage.cpp src/textimport/CopyContentsImportsResult.cpp src/common/Result.cpp
// links:
#include <cstdint>
#include <cstdlib>
#include <string>

#include "textimport/CopyContentsImportsResult.h"
#include "textimport/FrameDecoder.h"
#include "textimport/ImportMessage.h"

using namespace velmora;

namespace {
void require(bool condition) {
  if (!condition) std::abort();
}

void checkMessage(const std::string& frame) {
  auto message = ImportMessage::decode(frame);
  if (message.ok()) {
    auto again = ImportMessage::decode(message->encode());
    require(again.ok());
    require(again->op == message->op && again->path == message->path && again->words == message->words &&
            again->pages == message->pages && again->error == message->error && again->data == message->data &&
            again->paths == message->paths && again->maxLength == message->maxLength &&
            again->percentage == message->percentage && again->hasFd == message->hasFd);
  }
  auto copied = CopyContentsImportsResult::decode(frame);
  if (copied.ok()) {
    auto again = CopyContentsImportsResult::decode(copied->encodedData());
    require(again.ok() && again->text == copied->text && again->error == copied->error && again->image == copied->image);
  }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  if (size == 0) return 0;
  const std::size_t ceiling = std::size_t(1) << (bytes[0] & 0x1F);
  const std::size_t piece = 1 + (bytes[0] >> 5) * 7;
  FrameDecoder decoder(ceiling);
  const char* data = reinterpret_cast<const char*>(bytes + 1);
  std::size_t left = size - 1;
  std::string frame;
  while (left > 0) {
    const std::size_t n = left < piece ? left : piece;
    decoder.append(data, n);
    data += n;
    left -= n;
    for (;;) {
      auto next = decoder.next(frame);
      if (next == FrameDecoder::Next::needMore) break;
      if (next == FrameDecoder::Next::tooLong) return 0;
      require(frame.size() <= ceiling);
      checkMessage(frame);
    }
  }
  // The whole input as one message too, as the frame body it may be.
  checkMessage(std::string(reinterpret_cast<const char*>(bytes + 1), size - 1));
  return 0;
}
