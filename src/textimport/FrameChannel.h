#pragma once
#include <chrono>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>

#include "common/Result.h"
#include "platform/FileDescriptor.h"
#include "textimport/FrameDecoder.h"

namespace velmora {

// One end of a Unix stream socket carrying frames, and file descriptors
// beside them (SCM_RIGHTS). Sends may come from several threads.
class FrameChannel {
 public:
  enum class Wait { frame, timeout, closed, broken };

  FrameChannel(FileDescriptor socket, std::size_t maxFrameBytes);

  int fd() const { return socket_.get(); }
  // Sends one frame; `passFd`, when given, travels with its first byte.
  Status send(std::string_view payload, int passFd = -1);
  // Waits up to `timeout` (negative: for ever) for the next frame. `closed`
  // is the peer's end of stream; `broken` a read error or a frame over the
  // ceiling, and then `problem()` says which.
  Wait receive(std::string& payload, std::chrono::milliseconds timeout);
  // A descriptor that arrived with the frames, or an invalid one.
  FileDescriptor takeReceivedFd();
  const std::string& problem() const { return problem_; }
  void shutdown();

 private:
  FileDescriptor socket_;
  FrameDecoder decoder_;
  std::mutex sendMutex_;
  std::deque<FileDescriptor> receivedFds_;
  std::string problem_;
};

}  // namespace velmora
