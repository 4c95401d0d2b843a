#pragma once
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

typedef struct XML_ParserStruct* XML_Parser;

namespace velmora {

// The text of one XML part of an office document, read with expat as the
// bytes arrive (parts are inflated in chunks, never whole). Elements are
// matched by local name, whatever prefix a producer chose. No external
// entities are ever loaded.
class OfficeXMLText {
 public:
  enum class Kind {
    wordprocessing,  // word/document.xml: w:t, w:tab, w:br, end of w:p; w:del skipped
    sharedStrings,   // xl/sharedStrings.xml: one string per si
    worksheet,       // xl/worksheets/sheetN.xml: cells through the shared strings
    presentation,    // ppt/slides/slideN.xml: a:t, a:br, end of a:p
    openDocument,    // content.xml of odt, ods, odp: text:p, text:h, text:s, text:tab, text:line-break
  };

  // `sharedStrings` is read by worksheets only and must outlive the reader.
  explicit OfficeXMLText(Kind kind, const std::vector<std::string>* sharedStrings = nullptr,
                         std::size_t maxTextBytes = std::size_t(1) << 30);
  ~OfficeXMLText();
  OfficeXMLText(const OfficeXMLText&) = delete;
  OfficeXMLText& operator=(const OfficeXMLText&) = delete;

  // False once the XML is malformed; error() says where.
  bool feed(const char* data, std::size_t size, bool isFinal);
  const std::string& text() const { return text_; }
  std::vector<std::string>& strings() { return strings_; }
  const std::string& error() const { return error_; }

  // The whole of one part at once, or nothing when it isn't well-formed.
  static std::optional<std::string> textOf(Kind kind, std::string_view xml,
                                           const std::vector<std::string>* sharedStrings = nullptr);

 private:
  static void onStart(void* self, const char* name, const char** attributes);
  static void onEnd(void* self, const char* name);
  static void onText(void* self, const char* text, int length);
  void start(std::string_view name, const char** attributes);
  void end(std::string_view name);
  void characters(std::string_view text);
  void append(std::string_view text);
  std::string& target() { return capturingCell_ ? cell_ : text_; }

  Kind kind_;
  const std::vector<std::string>* sharedStrings_;
  std::size_t maxTextBytes_;
  XML_Parser parser_;
  std::string text_;
  std::string error_;
  std::vector<std::string> strings_;
  int capture_ = 0;      // inside an element whose character data is text
  int skip_ = 0;         // inside deleted or phonetic text
  int paragraph_ = 0;    // open text paragraphs of an OpenDocument
  bool capturingCell_ = false;
  bool inValue_ = false;
  std::string cellType_;
  std::string cell_;
};

}  // namespace velmora
