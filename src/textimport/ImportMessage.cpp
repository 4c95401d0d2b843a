#include "textimport/ImportMessage.h"

#include <set>

#include "textimport/WireFormat.h"

namespace velmora {

namespace {

enum Tag : std::uint8_t {
  opTag = 1,
  pathTag,
  fdTag,
  allTag,
  ocrTag,
  maxTag,
  percentageTag,
  errorTag,
  pageTag,
  wordTag,
  dataTag,
  cancelPathTag,
};

const std::set<std::string, std::less<>>& knownOps() {
  static const std::set<std::string, std::less<>> ops = {
      "start",      "quit",         "importText",  "wordsInFile",  "copyContentsToClipboardImporter",
      "cancelInfo", "removeCancel", "clearCancel", "setProgress", "clearProgress"};
  return ops;
}

}  // namespace

std::string ImportMessage::encode() const {
  WireWriter w;
  w.text(opTag, op);
  if (!path.empty()) w.text(pathTag, path);
  if (hasFd) w.number(fdTag, 1);
  if (searchAllFiles) w.number(allTag, 1);
  if (useOCR) w.number(ocrTag, 1);
  if (maxLength) w.number(maxTag, maxLength);
  if (percentage) w.number(percentageTag, static_cast<std::uint64_t>(percentage));
  if (error) w.text(errorTag, *error);
  for (const auto& page : pages) w.text(pageTag, page);
  for (const auto& [word, count] : words) {
    w.text(wordTag, word);
    w.varint(static_cast<std::uint64_t>(count));
  }
  if (!data.empty()) w.text(dataTag, data);
  for (const auto& p : paths) w.text(cancelPathTag, p);
  return w.take();
}

Result<ImportMessage> ImportMessage::decode(const std::string& bytes) {
  WireReader r(bytes);
  ImportMessage m;
  bool haveOp = false;
  auto bad = [](const char* what) { return Status::corruption(std::string("a malformed message: ") + what); };
  while (!r.atEnd()) {
    std::uint8_t tag;
    std::uint64_t number;
    std::string_view text;
    if (!r.tag(tag)) return bad("truncated");
    switch (tag) {
      case opTag:
        if (!r.bytes(text)) return bad("truncated name");
        if (!knownOps().count(text)) return bad("unknown name");
        m.op = std::string(text);
        haveOp = true;
        break;
      case pathTag:
      case errorTag:
      case pageTag:
      case dataTag:
      case cancelPathTag:
        if (!r.bytes(text)) return bad("truncated text");
        if (tag == pathTag) m.path = std::string(text);
        else if (tag == errorTag) m.error = std::string(text);
        else if (tag == pageTag) m.pages.emplace_back(text);
        else if (tag == dataTag) m.data = std::string(text);
        else m.paths.emplace_back(text);
        break;
      case fdTag:
      case allTag:
      case ocrTag:
        if (!r.varint(number) || number > 1) return bad("a flag that is neither 0 nor 1");
        (tag == fdTag ? m.hasFd : tag == allTag ? m.searchAllFiles : m.useOCR) = number == 1;
        break;
      case maxTag:
        if (!r.varint(m.maxLength)) return bad("truncated number");
        break;
      case percentageTag:
        if (!r.varint(number) || number > 100) return bad("a progress outside 0 to 100");
        m.percentage = static_cast<int>(number);
        break;
      case wordTag:
      {
        if (!r.bytes(text) || !r.varint(number) || number > INT64_MAX) return bad("truncated word count");
        // A word sent twice adds up, and the sum must still be a count.
        auto& count = m.words[std::string(text)];
        if (static_cast<std::uint64_t>(count) > INT64_MAX - number) return bad("a word count out of range");
        count += static_cast<std::int64_t>(number);
        break;
      }
      default:
        return bad("unknown field");
    }
  }
  if (!haveOp) return bad("no name");
  return m;
}

}  // namespace velmora
