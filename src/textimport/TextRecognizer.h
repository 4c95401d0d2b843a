#pragma once
#include <string>
#include <vector>

struct Pix;

namespace velmora {

// Reads lines of text from an image with tesseract (English), for images
// and for rendered PDF pages. The engine is loaded once per thread.
class TextRecognizer {
 public:
  // Lines of the image, top to bottom; false with a reason when the engine
  // can't be started. `dpi` is the image's resolution (tesseract guesses
  // badly without one).
  static bool linesOfText(Pix* image, int dpi, std::vector<std::string>& lines, std::string& failure);
  static std::string joined(const std::vector<std::string>& lines);
};

}  // namespace velmora
