// velmora-import: the import helper. Started by the application's import
// client with two sockets, parses the documents it is handed and answers with
// text or counted words. A document that crashes or exhausts it costs the
// client that one file.
//   velmora-import --request-fd N --control-fd M [--memory-limit-mb MB]
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "textimport/FrameChannel.h"
#include "textimport/service/HelperConfinement.h"
#include "textimport/service/ImportText.h"

int main(int argc, char** argv) {
  int requestFd = -1, controlFd = -1;
  std::uint64_t memoryLimitMB = 2048;
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string option = argv[i];
    const char* value = argv[i + 1];
    if (option == "--request-fd") requestFd = std::atoi(value);
    else if (option == "--control-fd") controlFd = std::atoi(value);
    else if (option == "--memory-limit-mb") memoryLimitMB = std::strtoull(value, nullptr, 10);
  }
  if (requestFd < 0 || controlFd < 0) {
    std::fprintf(stderr, "velmora-import is started by velmora; it takes --request-fd and --control-fd\n");
    return 2;
  }
  // Nothing but the two sockets and the standard streams: whatever else the
  // client's process had open is none of the helper's business.
  const int highest = std::max(requestFd, controlFd);
  for (int fd = 3; fd < highest; ++fd)
    if (fd != requestFd && fd != controlFd) ::close(fd);
  ::close_range(static_cast<unsigned>(highest) + 1, ~0u, 0);
  if (auto confined = velmora::HelperConfinement::apply(memoryLimitMB); !confined.ok()) {
    std::fprintf(stderr, "velmora-import: %s\n", confined.message().c_str());
    return 2;
  }
  velmora::FrameChannel requests(velmora::FileDescriptor(requestFd), velmora::ImportText::maxRequestBytes);
  velmora::FrameChannel control(velmora::FileDescriptor(controlFd), velmora::ImportText::maxRequestBytes);
  int status;
  {
    velmora::ImportText service;
    status = service.serve(requests, control);
  }
  std::fflush(nullptr);
  // The control reader thread may still be waiting: end without unwinding it.
  std::_Exit(status);
}
