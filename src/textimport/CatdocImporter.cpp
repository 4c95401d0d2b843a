#include "textimport/CatdocImporter.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/FileDescriptor.h"

extern char** environ;

namespace velmora {

std::optional<ImportTextTools::ImportTextResult> CatdocImporter::importDocument(
    const ImportFile& file, std::size_t maxLength, bool, const ImportTextTools::ProgressHandler&,
    const ImportTextTools::ShouldCancel&, std::string& failure) {
  FileDescriptor owned;
  int input = file.fd;
  if (input < 0) {
    owned.reset(::open(file.path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!owned.valid()) {
      failure = std::string("cannot open: ") + std::strerror(errno);
      return std::nullopt;
    }
    input = owned.get();
  }
  ::lseek(input, 0, SEEK_SET);
  int pipeFds[2];
  if (::pipe2(pipeFds, O_CLOEXEC) != 0) {
    failure = "cannot make a pipe for catdoc";
    return std::nullopt;
  }
  FileDescriptor readEnd(pipeFds[0]), writeEnd(pipeFds[1]);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input, 0);
  posix_spawn_file_actions_adddup2(&actions, writeEnd.get(), 1);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  char program[] = "catdoc";
  char optionD[] = "-d";
  char charset[] = "utf-8";
  char optionW[] = "-w";  // no line wrapping: lines end only at paragraphs
  char* argv[] = {program, optionD, charset, optionW, nullptr};
  pid_t pid = -1;
  const int spawned = posix_spawnp(&pid, program, &actions, nullptr, argv, environ);
  posix_spawn_file_actions_destroy(&actions);
  writeEnd.reset();
  if (spawned != 0) {
    failure = std::string("cannot run catdoc: ") + std::strerror(spawned);
    return std::nullopt;
  }

  std::string text;
  bool timedOut = false, tooLarge = false;
  const auto deadline = std::chrono::steady_clock::now() + timeLimit;
  char buffer[65536];
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
      timedOut = true;
      break;
    }
    pollfd p{readEnd.get(), POLLIN, 0};
    const int ready = ::poll(&p, 1, static_cast<int>(left.count()));
    if (ready < 0 && errno == EINTR) continue;
    if (ready == 0) {
      timedOut = true;
      break;
    }
    const ssize_t got = ::read(readEnd.get(), buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    text.append(buffer, static_cast<std::size_t>(got));
    if (text.size() > maxOutputBytes) {
      tooLarge = true;
      break;
    }
  }
  if (timedOut || tooLarge) ::kill(pid, SIGKILL);
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (timedOut) {
    failure = "catdoc took longer than 30 seconds and was stopped";
    return std::nullopt;
  }
  if (tooLarge) {
    failure = "catdoc's text exceeds 256 MB";
    return std::nullopt;
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    failure = "catdoc could not read the document";
    return std::nullopt;
  }
  if (maxLength < text.size()) {
    std::size_t characters = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
      if ((static_cast<unsigned char>(text[i]) & 0xC0) == 0x80) continue;
      if (characters++ == maxLength) {
        text.resize(i);
        break;
      }
    }
  }
  ImportTextTools::ImportTextResult result;
  result.text = std::vector<ImportTextTools::Page>{{std::move(text)}};
  return result;
}

}  // namespace velmora
