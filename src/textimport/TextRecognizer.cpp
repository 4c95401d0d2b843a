#include "textimport/TextRecognizer.h"

#include <leptonica/allheaders.h>
#include <tesseract/baseapi.h>

#include <memory>

namespace velmora {

namespace {

struct EngineState {
  std::unique_ptr<tesseract::TessBaseAPI> api;
  bool failed = false;
};

tesseract::TessBaseAPI* engine(std::string& failure) {
  thread_local EngineState state;
  if (state.api) return state.api.get();
  if (state.failed) {
    failure = "OCR is not available (tesseract could not load its English data)";
    return nullptr;
  }
  // Leptonica reports allocation failures under the memory limit on standard
  // error; the failure we return says it once.
  setMsgSeverity(L_SEVERITY_NONE);
  auto api = std::make_unique<tesseract::TessBaseAPI>();
  if (api->Init(nullptr, "eng") != 0) {
    state.failed = true;
    failure = "OCR is not available (tesseract could not load its English data)";
    return nullptr;
  }
  // No files of its own beside the text: the helper writes nothing.
  api->SetVariable("debug_file", "/dev/null");
  state.api = std::move(api);
  return state.api.get();
}

}  // namespace

bool TextRecognizer::linesOfText(Pix* image, int dpi, std::vector<std::string>& lines, std::string& failure) {
  tesseract::TessBaseAPI* api = engine(failure);
  if (!api) return false;
  api->SetImage(image);
  api->SetSourceResolution(dpi > 0 ? dpi : 300);
  std::unique_ptr<char[]> text(api->GetUTF8Text());
  api->Clear();
  if (!text) {
    failure = "OCR failed on the image";
    return false;
  }
  std::string all(text.get());
  std::size_t start = 0;
  while (start <= all.size()) {
    std::size_t end = all.find('\n', start);
    if (end == std::string::npos) end = all.size();
    std::string line = all.substr(start, end - start);
    if (line.find_first_not_of(" \t\f") != std::string::npos) lines.push_back(std::move(line));
    start = end + 1;
  }
  return true;
}

std::string TextRecognizer::joined(const std::vector<std::string>& lines) {
  std::string out;
  for (const auto& line : lines) {
    if (!out.empty()) out.push_back('\n');
    out += line;
  }
  return out;
}

}  // namespace velmora
