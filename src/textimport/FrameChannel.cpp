#include "textimport/FrameChannel.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

namespace velmora {

FrameChannel::FrameChannel(FileDescriptor socket, std::size_t maxFrameBytes)
    : socket_(std::move(socket)), decoder_(maxFrameBytes) {}

Status FrameChannel::send(std::string_view payload, int passFd) {
  const std::string frame = FrameDecoder::encode(payload);
  std::lock_guard guard(sendMutex_);
  std::size_t sent = 0;
  while (sent < frame.size()) {
    iovec io{const_cast<char*>(frame.data() + sent), frame.size() - sent};
    msghdr message{};
    message.msg_iov = &io;
    message.msg_iovlen = 1;
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
    if (passFd >= 0 && sent == 0) {
      std::memset(control, 0, sizeof control);
      message.msg_control = control;
      message.msg_controllen = sizeof control;
      cmsghdr* header = CMSG_FIRSTHDR(&message);
      header->cmsg_level = SOL_SOCKET;
      header->cmsg_type = SCM_RIGHTS;
      header->cmsg_len = CMSG_LEN(sizeof(int));
      std::memcpy(CMSG_DATA(header), &passFd, sizeof(int));
    }
    const ssize_t n = ::sendmsg(socket_.get(), &message, MSG_NOSIGNAL);
    if (n < 0) {
      if (errno == EINTR) continue;
      return Status::fromErrno(errno, "cannot write to the import helper's socket");
    }
    sent += static_cast<std::size_t>(n);
  }
  return Status::success();
}

FrameChannel::Wait FrameChannel::receive(std::string& payload, std::chrono::milliseconds timeout) {
  for (;;) {
    switch (decoder_.next(payload)) {
      case FrameDecoder::Next::frame: return Wait::frame;
      case FrameDecoder::Next::tooLong: problem_ = "a frame longer than allowed"; return Wait::broken;
      case FrameDecoder::Next::needMore: break;
    }
    pollfd p{socket_.get(), POLLIN, 0};
    const int ready = ::poll(&p, 1, timeout.count() < 0 ? -1 : static_cast<int>(timeout.count()));
    if (ready < 0) {
      if (errno == EINTR) continue;
      problem_ = std::string("poll: ") + std::strerror(errno);
      return Wait::broken;
    }
    if (ready == 0) return Wait::timeout;
    char buffer[65536];
    iovec io{buffer, sizeof buffer};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int) * 4)];
    msghdr message{};
    message.msg_iov = &io;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t n = ::recvmsg(socket_.get(), &message, MSG_CMSG_CLOEXEC);
    if (n < 0) {
      if (errno == EINTR || errno == EAGAIN) continue;
      problem_ = std::string("read: ") + std::strerror(errno);
      return Wait::broken;
    }
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header; header = CMSG_NXTHDR(&message, header)) {
      if (header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_RIGHTS) continue;
      const std::size_t count = (header->cmsg_len - CMSG_LEN(0)) / sizeof(int);
      for (std::size_t i = 0; i < count; ++i) {
        int fd;
        std::memcpy(&fd, CMSG_DATA(header) + i * sizeof(int), sizeof(int));
        receivedFds_.emplace_back(fd);
      }
    }
    if (n == 0) {
      if (decoder_.buffered() > 0) problem_ = "the stream ended inside a frame";
      return Wait::closed;
    }
    decoder_.append(buffer, static_cast<std::size_t>(n));
  }
}

FileDescriptor FrameChannel::takeReceivedFd() {
  if (receivedFds_.empty()) return FileDescriptor();
  FileDescriptor fd = std::move(receivedFds_.front());
  receivedFds_.pop_front();
  return fd;
}

void FrameChannel::shutdown() { ::shutdown(socket_.get(), SHUT_RDWR); }

}  // namespace velmora
