#include "textimport/service/ImportText.h"

#include <cstdio>
#include <thread>

#include "textimport/ContentTypeTable.h"
#include "textimport/CopyContentsImportsResult.h"
#include "textimport/FrameChannel.h"
#include "textimport/ImportMessage.h"
#include "textimport/ImportSharedState.h"

namespace velmora {

ImportText::ImportText(const Clock& clock) : clock_(clock) {
  // A helper that died earlier may have left requests behind.
  ImportTextTools::clearCancel();
  observerToken_ = ImportSharedState::shared().addObserver([this](ImportSharedState::Notification n) {
    if (n != ImportSharedState::Notification::cancel) return;
    auto items = ImportTextTools::currentCancelItems();
    std::lock_guard guard(mutex_);
    cancelMessages_ = std::move(items);
  });
}

ImportText::~ImportText() { ImportSharedState::shared().removeObserver(observerToken_); }

void ImportText::quit() { quitRequested_ = true; }

void ImportText::setCurrentFile(std::optional<std::string> path) {
  std::lock_guard guard(mutex_);
  currentFile_ = std::move(path);
}

bool ImportText::shouldCancel() {
  std::string path;
  {
    std::lock_guard guard(mutex_);
    if (!currentFile_ || !cancelMessages_.count(*currentFile_)) return false;
    path = *currentFile_;
    cancelMessages_.erase(path);
  }
  ImportTextTools::removeCancelFor(path);
  return true;
}

void ImportText::progressFunc(const std::optional<std::string>& path, int percentage) {
  const Date now = clock_.now();
  {
    std::lock_guard guard(mutex_);
    if (!path) {
      lastProgressUpdate_ = now;
      return;
    }
    if (lastProgressUpdate_ != Date::min() &&
        std::chrono::duration<double>(now - lastProgressUpdate_).count() < progressUpdatesDelayInSeconds)
      return;
    lastProgressUpdate_ = now;
  }
  ImportTextTools::setProgress(*path, percentage);
}

WordsInFileReply ImportText::wordsInFile(const ImportFile& file, bool useOCR) {
  setCurrentFile(file.path);
  ImportTextTools tools;
  WordsInFileReply reply;
  reply.words = tools.wordsInFile(
      file, useOCR, [this](const std::string& path, int pct) { progressFunc(path, pct); },
      [this] { return shouldCancel(); });
  if (reply.words.empty() && !tools.lastFailure().empty()) reply.error = tools.lastFailure();
  ImportTextTools::clearProgress(file.path);
  setCurrentFile(std::nullopt);
  return reply;
}

ImportTextReply ImportText::importText(const ImportFile& file, bool searchAllFiles, std::size_t maxLength,
                                       bool useOCR) {
  setCurrentFile(file.path);
  ImportTextTools tools;
  ImportTextReply reply;
  auto result = tools.importFileText(
      file, searchAllFiles, maxLength, useOCR, [this](const std::string& path, int pct) { progressFunc(path, pct); },
      [this] { return shouldCancel(); });
  const auto& pages = result ? (useOCR ? result->ocrText : result->text) : std::nullopt;
  if (pages) {
    for (const auto& page : *pages) reply.pages.push_back(page.text);
  } else if (!tools.lastFailure().empty()) {
    reply.error = tools.lastFailure();
  } else if (!result && !tools.canImportTextFrom(file.path, useOCR) && !searchAllFiles) {
    reply.error = "no importer for this type of file";
  } else if (useOCR && result) {
    reply.error = "no text was recognised";
  }
  ImportTextTools::clearProgress(file.path);
  setCurrentFile(std::nullopt);
  return reply;
}

std::string ImportText::copyContentsToClipboardImporter(const ImportFile& file, bool useOCR) {
  CopyContentsImportsResult result;
  auto type = ContentTypeTable::typeIdentifier(file.path);
  const auto& images = ContentTypeTable::imageTypes();
  ImportTextTools tools;
  if (type && std::find(images.begin(), images.end(), *type) != images.end()) {
    std::string bytes, failure;
    if (file.readAll(bytes, failure, std::size_t(256) << 20))
      result.image = std::vector<std::uint8_t>(bytes.begin(), bytes.end());
    else
      result.error = failure;
  } else if (tools.canImportTextFrom(file.path, useOCR)) {
    setCurrentFile(file.path);
    auto imported = tools.importFileText(file, false, ImportTextTools::unlimitedLength, useOCR, {},
                                         [this] { return shouldCancel(); });
    setCurrentFile(std::nullopt);
    if (auto text = imported ? imported->allText(useOCR) : std::nullopt)
      result.text = std::move(*text);
    else
      result.error = tools.lastFailure().empty() ? "no text could be read" : tools.lastFailure();
  } else {
    result.error = "no importer for this type of file";
  }
  return result.encodedData();
}

int ImportText::serve(FrameChannel& requests, FrameChannel& control) {
  ImportSharedState::shared().setForwarder([&control](const ImportSharedState::Change& change) {
    ImportMessage m;
    switch (change.kind) {
      case ImportSharedState::Change::Kind::removeCancel: m.op = "removeCancel"; break;
      case ImportSharedState::Change::Kind::clearCancel: m.op = "clearCancel"; break;
      case ImportSharedState::Change::Kind::setProgress: m.op = "setProgress"; break;
      case ImportSharedState::Change::Kind::clearProgress: m.op = "clearProgress"; break;
    }
    m.path = change.path;
    m.percentage = change.percentage;
    control.send(m.encode()).ignore();  // a client that has gone ends the request stream too
  });
  // The clear of leftover cancels happened before the forwarder existed.
  ImportTextTools::clearCancel();

  std::thread([&control] {
    std::string frame;
    for (;;) {
      if (control.receive(frame, std::chrono::milliseconds(-1)) != FrameChannel::Wait::frame) return;
      auto message = ImportMessage::decode(frame);
      if (!message.ok() || message->op != "cancelInfo") {
        std::fprintf(stderr, "velmora-import: a malformed control message; ending\n");
        std::_Exit(3);
      }
      ImportSharedState::shared().setCancelItems({message->paths.begin(), message->paths.end()}, true);
    }
  }).detach();

  std::string frame;
  for (;;) {
    switch (requests.receive(frame, std::chrono::milliseconds(-1))) {
      case FrameChannel::Wait::frame: break;
      case FrameChannel::Wait::closed: return 0;
      case FrameChannel::Wait::timeout: continue;
      case FrameChannel::Wait::broken:
        std::fprintf(stderr, "velmora-import: %s; ending\n", requests.problem().c_str());
        return 3;
    }
    auto decoded = ImportMessage::decode(frame);
    if (!decoded.ok()) {
      std::fprintf(stderr, "velmora-import: %s; ending\n", decoded.status().message().c_str());
      return 3;
    }
    ImportMessage& request = *decoded;
    FileDescriptor fd = request.hasFd ? requests.takeReceivedFd() : FileDescriptor();
    if (request.hasFd && !fd.valid()) {
      std::fprintf(stderr, "velmora-import: a request announced a descriptor that did not arrive; ending\n");
      return 3;
    }
    const ImportFile file(request.path, fd.get());
    ImportMessage reply;
    reply.op = request.op;
    if (request.op == "start") {
      start();
    } else if (request.op == "quit") {
      quit();
      return 0;
    } else if (request.op == "wordsInFile") {
      auto words = wordsInFile(file, request.useOCR);
      reply.words = std::move(words.words);
      reply.error = std::move(words.error);
    } else if (request.op == "importText") {
      const std::size_t maxLength =
          request.maxLength == 0 ? ImportTextTools::unlimitedLength : static_cast<std::size_t>(request.maxLength);
      auto text = importText(file, request.searchAllFiles, maxLength, request.useOCR);
      reply.pages = std::move(text.pages);
      reply.error = std::move(text.error);
    } else if (request.op == "copyContentsToClipboardImporter") {
      reply.data = copyContentsToClipboardImporter(file, request.useOCR);
    } else {
      std::fprintf(stderr, "velmora-import: '%s' is not a request; ending\n", request.op.c_str());
      return 3;
    }
    fd.reset();  // the file is closed before the client hears the reply
    if (!requests.send(reply.encode()).ok()) return 0;
  }
}

}  // namespace velmora
