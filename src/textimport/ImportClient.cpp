#include "textimport/ImportClient.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fmt/format.h>

#include "common/Logger.h"
#include "stores/PreferenceStore.h"
#include "stores/Preferences.h"
#include "textimport/FrameChannel.h"
#include "textimport/ImportSharedState.h"

extern char** environ;

namespace velmora {

namespace {

// Replies carry whole documents' text; a reply past this is a broken helper.
constexpr std::size_t maxReplyBytes = std::size_t(1) << 30;
constexpr std::size_t maxControlBytes = std::size_t(1) << 20;
constexpr auto waitSlice = std::chrono::milliseconds(100);
const Date distantFuture = Date::max();

std::string defaultHelperPath() {
  if (const char* configured = std::getenv("VELMORA_IMPORT_HELPER"); configured && *configured) return configured;
  std::error_code ec;
  auto self = std::filesystem::read_symlink("/proc/self/exe", ec);
  if (ec) return "velmora-import";
  return (self.parent_path() / "velmora-import").string();
}

std::string describeExit(int status) {
  if (WIFSIGNALED(status)) {
    const int signal = WTERMSIG(status);
    return fmt::format("was killed by signal {} ({})", signal, strsignal(signal));
  }
  if (WIFEXITED(status)) return fmt::format("exited with status {}", WEXITSTATUS(status));
  return "ended";
}

std::int64_t ticks(Date date) { return date.time_since_epoch().count(); }

}  // namespace

struct ImportClient::Helper {
  pid_t pid = -1;
  std::unique_ptr<FrameChannel> requests;
  std::shared_ptr<FrameChannel> control;
  std::thread controlReader;
};

ImportClient::Options ImportClient::Options::fromPreferences() {
  Options options;
  Preferences::registerDefaultsIfNeeded();
  auto& store = PreferenceStore::shared();
  options.memoryLimitMB = static_cast<std::uint64_t>(std::max<std::int64_t>(0, store.integerForKey("importMemoryLimitMB")));
  options.timeLimitSeconds = std::max(0.0, store.doubleForKey("importTimeLimitSeconds"));
  return options;
}

ImportClient::ImportClient(Options options) : options_(std::move(options)), queue_("ImportClient") {
  if (options_.helperPath.empty()) options_.helperPath = defaultHelperPath();
  if (!options_.scheduler) options_.scheduler = &Scheduler::background();
  lastUsedTime_ = clock().now();
  initNotifications();
}

ImportClient::~ImportClient() {
  ImportSharedState::shared().removeObserver(observerToken_);
  if (quitTimer_) quitTimer_->cancel();
  queue_.addOperation([this] { shutdownOnQueue(); });
  queue_.waitUntilAllOperationsAreFinished();
}

ImportClient& ImportClient::shared() {
  static ImportClient client(Options::fromPreferences());
  return client;
}

const Clock& ImportClient::clock() const { return options_.scheduler->clock(); }

Status ImportClient::lastError() const {
  std::lock_guard guard(mutex_);
  return lastError_;
}

Date ImportClient::lastUsedTime() const {
  std::lock_guard guard(mutex_);
  return lastUsedTime_;
}

void ImportClient::setLastUsedTime(Date date) {
  std::lock_guard guard(mutex_);
  lastUsedTime_ = date;
}

pid_t ImportClient::helperPid() const { return helperPid_.load(); }

void ImportClient::initNotifications() {
  observerToken_ = ImportSharedState::shared().addObserver([this](ImportSharedState::Notification n) {
    if (n == ImportSharedState::Notification::cancel) {
      sendCancelInfo();
      return;
    }
    for (const auto& [path, percentage] : ImportSharedState::shared().progress()) {
      ProgressHandler progressor;
      {
        std::lock_guard guard(mutex_);
        if (auto found = progressorsForFiles_.find(path); found != progressorsForFiles_.end())
          progressor = found->second;
      }
      if (progressor) progressor(path, percentage);
    }
  });
}

void ImportClient::sendCancelInfo() {
  std::shared_ptr<FrameChannel> control;
  {
    std::lock_guard guard(mutex_);
    control = control_;
  }
  if (!control) return;
  ImportMessage message;
  message.op = "cancelInfo";
  for (const auto& path : ImportSharedState::shared().cancelItems()) message.paths.push_back(path);
  control->send(message.encode()).ignore();  // a helper that is gone needs no cancel
}

void ImportClient::setup() {
  if (helper_) return;
  {
    std::lock_guard guard(mutex_);
    lastError_ = Status::success();
  }
  int requestPair[2], controlPair[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, requestPair) != 0) {
    std::lock_guard guard(mutex_);
    lastError_ = Status::fromErrno(errno, "cannot make a socket pair for the import helper");
    return;
  }
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, controlPair) != 0) {
    ::close(requestPair[0]);
    ::close(requestPair[1]);
    std::lock_guard guard(mutex_);
    lastError_ = Status::fromErrno(errno, "cannot make a socket pair for the import helper");
    return;
  }
  FileDescriptor myRequests(requestPair[0]), myControl(controlPair[0]);
  // Out of the way of 3 and 4, where the helper expects them.
  FileDescriptor theirRequests(::fcntl(requestPair[1], F_DUPFD_CLOEXEC, 10));
  FileDescriptor theirControl(::fcntl(controlPair[1], F_DUPFD_CLOEXEC, 10));
  ::close(requestPair[1]);
  ::close(controlPair[1]);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, theirRequests.get(), 3);
  posix_spawn_file_actions_adddup2(&actions, theirControl.get(), 4);
  const std::string memory = std::to_string(options_.memoryLimitMB);
  std::vector<std::string> args = {options_.helperPath, "--request-fd", "3", "--control-fd", "4",
                                   "--memory-limit-mb", memory};
  std::vector<char*> argv;
  for (auto& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  // OCR is faster with one thread per page on a small machine; OpenMP reads
  // this when the helper loads, so it is set here.
  std::vector<std::string> environment;
  for (char** e = environ; *e; ++e)
    if (std::strncmp(*e, "OMP_THREAD_LIMIT=", 17) != 0) environment.emplace_back(*e);
  environment.emplace_back("OMP_THREAD_LIMIT=1");
  std::vector<char*> envp;
  for (auto& e : environment) envp.push_back(e.data());
  envp.push_back(nullptr);
  pid_t pid = -1;
  const int spawned = posix_spawn(&pid, options_.helperPath.c_str(), &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  // Only the helper may hold its ends: its death must close the sockets.
  theirRequests.reset();
  theirControl.reset();
  if (spawned != 0) {
    std::lock_guard guard(mutex_);
    lastError_ = Status::fromErrno(spawned, "cannot start the import helper " + options_.helperPath);
    return;
  }
  auto helper = std::make_unique<Helper>();
  helper->pid = pid;
  helper->requests = std::make_unique<FrameChannel>(std::move(myRequests), maxReplyBytes);
  helper->control = std::make_shared<FrameChannel>(std::move(myControl), maxControlBytes);
  helper->controlReader = std::thread([this, control = helper->control] {
    std::string frame;
    while (control->receive(frame, std::chrono::milliseconds(-1)) == FrameChannel::Wait::frame) {
      auto message = ImportMessage::decode(frame);
      if (!message.ok()) return;  // the request stream notices a broken helper
      lastActivity_ = ticks(clock().now());
      ImportSharedState::Change change{ImportSharedState::Change::Kind::clearCancel, message->path,
                                       message->percentage};
      if (message->op == "removeCancel") change.kind = ImportSharedState::Change::Kind::removeCancel;
      else if (message->op == "clearCancel") change.kind = ImportSharedState::Change::Kind::clearCancel;
      else if (message->op == "setProgress") change.kind = ImportSharedState::Change::Kind::setProgress;
      else if (message->op == "clearProgress") change.kind = ImportSharedState::Change::Kind::clearProgress;
      else return;
      ImportSharedState::shared().apply(change);
    }
  });
  {
    std::lock_guard guard(mutex_);
    control_ = helper->control;
  }
  helper_ = std::move(helper);
  helperPid_ = pid;

  ImportMessage start;
  start.op = "start";
  auto started = call(start, {}, {});
  if (!started.ok()) return;
  if (!quitTimer_) {
    quitTimer_ = std::make_unique<RepeatingTimer>(*options_.scheduler, Seconds(quitTimerInterval),
                                                  [this] { quitTimerFired(); });
  }
}

void ImportClient::quitTimerFired() {
  const Date used = lastUsedTime();
  if (used == distantFuture) return;
  if (std::chrono::duration<double>(clock().now() - used).count() <= quitTimerInterval - 1) return;
  queue_.addOperation([this] { shutdownOnQueue(); })->waitUntilFinished();
}

void ImportClient::shutdown() { queue_.addOperation([this] { shutdownOnQueue(); })->waitUntilFinished(); }

void ImportClient::startup() {
  queue_.addOperation([this] { setup(); })->waitUntilFinished();
}

void ImportClient::shutdownOnQueue() {
  if (helper_) {
    ImportMessage quit;
    quit.op = "quit";
    helper_->requests->send(quit.encode()).ignore();  // a helper that is gone has quit already
    endHelper(false, {}, false);
  }
  if (quitTimer_) {
    quitTimer_->cancel();
    quitTimer_.reset();
  }
}

void ImportClient::endHelper(bool kill, const std::string& why, bool describeEnd) {
  if (!helper_) return;
  std::unique_ptr<Helper> helper = std::move(helper_);
  helperPid_ = -1;
  {
    std::lock_guard guard(mutex_);
    control_.reset();
  }
  if (kill) ::kill(helper->pid, SIGKILL);
  helper->requests->shutdown();
  helper->control->shutdown();
  int status = 0;
  while (::waitpid(helper->pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (helper->controlReader.joinable()) helper->controlReader.join();
  if (!why.empty()) {
    std::lock_guard guard(mutex_);
    lastError_ = Status::internal(describeEnd ? fmt::format("{}: the import helper {}", why, describeExit(status)) : why);
  }
}

Result<ImportMessage> ImportClient::call(ImportMessage request, const std::string& path,
                                         const ProgressHandler& progress) {
  if (!helper_) return lastError().ok() ? Status::internal("the import helper is not running") : lastError();
  FileDescriptor file;
  if (!path.empty()) {
    // Non-blocking so that a FIFO can't hold the client; blocking again for
    // the helper's reads.
    file.reset(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (file.valid()) ::fcntl(file.get(), F_SETFL, ::fcntl(file.get(), F_GETFL) & ~O_NONBLOCK);
    request.path = path;
    request.hasFd = file.valid();
  }
  {
    std::lock_guard guard(mutex_);
    if (progress) progressorsForFiles_[path] = progress;
    else progressorsForFiles_.erase(path);
  }
  auto done = [&] {
    std::lock_guard guard(mutex_);
    progressorsForFiles_.erase(path);
  };
  const std::string what = path.empty() ? std::string("starting") : "reading " + path;
  // The quiet time counts from before the helper can begin.
  lastActivity_ = ticks(clock().now());
  if (Status sent = helper_->requests->send(request.encode(), file.get()); !sent.ok()) {
    endHelper(true, what + " (" + sent.message() + ")", true);
    done();
    return lastError_;
  }
  file.reset();
  std::string frame;
  for (;;) {
    const auto wait = helper_->requests->receive(frame, waitSlice);
    if (wait == FrameChannel::Wait::timeout) {
      if (options_.timeLimitSeconds <= 0) continue;
      const auto quiet = clock().now() - Date(Date::duration(lastActivity_.load()));
      if (std::chrono::duration<double>(quiet).count() <= options_.timeLimitSeconds) continue;
      VLOG("import of {} made no progress for {} seconds; the import helper is stopped", path,
           options_.timeLimitSeconds);
      endHelper(true, fmt::format("{}: no progress for {} seconds; the import was stopped", what,
                                  options_.timeLimitSeconds), false);
      done();
      return lastError();
    }
    if (wait != FrameChannel::Wait::frame) {
      const std::string problem = helper_->requests->problem();
      // Killed in case it still runs; a helper that died reports its own end.
      endHelper(true, what + (problem.empty() ? std::string() : " (" + problem + ")"), wait == FrameChannel::Wait::closed);
      done();
      return lastError();
    }
    auto reply = ImportMessage::decode(frame);
    if (!reply.ok() || reply->op != request.op) {
      endHelper(true, what + ": the import helper sent a malformed reply", false);
      done();
      return lastError();
    }
    done();
    return reply;
  }
}

ImportClient::WordsResult ImportClient::wordsFromFile(const std::string& path, bool useOCR,
                                                      ProgressHandler progressHandler) {
  WordsResult result;
  if (!importer_.canImportTextFrom(path, useOCR)) return result;
  queue_.addOperation([&] {
    setup();
    setLastUsedTime(distantFuture);
    ImportMessage request;
    request.op = "wordsInFile";
    request.useOCR = useOCR;
    auto reply = call(request, path, progressHandler);
    if (reply.ok()) {
      result.words = std::move(reply->words);
      result.importFailure = std::move(reply->error);
    }
    setLastUsedTime(clock().now());
  })->waitUntilFinished();
  result.error = lastError();
  return result;
}

ImportClient::TextResult ImportClient::textFromFile(const std::string& path, bool searchAllFileTypes, bool useOCR,
                                                    std::size_t maxLength, ProgressHandler progressHandler) {
  TextResult result;
  Status replyError;
  queue_.addOperation([&] {
    VLOG("Start: {}", path);
    setup();
    setLastUsedTime(distantFuture);
    ImportMessage request;
    request.op = "importText";
    request.searchAllFiles = searchAllFileTypes;
    request.useOCR = useOCR;
    if (maxLength != ImportTextTools::unlimitedLength && maxLength > 0) request.maxLength = maxLength;
    auto reply = call(request, path, progressHandler);
    if (reply.ok()) {
      if (reply->error) {
        replyError = Status::ioError(*reply->error);
      } else {
        result.pages = std::move(reply->pages);
        std::string text;
        for (std::size_t i = 0; i < result.pages.size(); ++i) {
          if (i) text.push_back(' ');
          text += result.pages[i];
        }
        result.text = std::move(text);
      }
    }
    setLastUsedTime(clock().now());
    VLOG("End: {}", path);
  })->waitUntilFinished();
  result.error = lastError();
  if (result.error.ok()) result.error = replyError;
  return result;
}

Result<CopyContentsImportsResult> ImportClient::copyContentsToClipboardImporter(const std::string& path, bool useOCR,
                                                                                ProgressHandler progress) {
  std::optional<Result<CopyContentsImportsResult>> result;
  queue_.addOperation([&] {
    setup();
    setLastUsedTime(distantFuture);
    ImportMessage request;
    request.op = "copyContentsToClipboardImporter";
    request.useOCR = useOCR;
    auto reply = call(request, path, progress);
    if (reply.ok())
      result.emplace(CopyContentsImportsResult::decode(reply->data));
    else
      result.emplace(reply.status());
    setLastUsedTime(clock().now());
  })->waitUntilFinished();
  return std::move(*result);
}

}  // namespace velmora
