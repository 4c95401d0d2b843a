#include "textimport/OfficeXMLText.h"

#include <expat.h>

#include <charconv>
#include <cstring>

namespace velmora {

namespace {

std::string_view localName(const char* name) {
  std::string_view n(name);
  const auto colon = n.rfind(':');
  return colon == std::string_view::npos ? n : n.substr(colon + 1);
}

const char* attribute(const char** attributes, std::string_view wanted) {
  for (int i = 0; attributes && attributes[i]; i += 2)
    if (localName(attributes[i]) == wanted) return attributes[i + 1];
  return nullptr;
}

}  // namespace

OfficeXMLText::OfficeXMLText(Kind kind, const std::vector<std::string>* sharedStrings, std::size_t maxTextBytes)
    : kind_(kind), sharedStrings_(sharedStrings), maxTextBytes_(maxTextBytes), parser_(XML_ParserCreate("UTF-8")) {
  XML_SetUserData(parser_, this);
  XML_SetElementHandler(parser_, &OfficeXMLText::onStart, &OfficeXMLText::onEnd);
  XML_SetCharacterDataHandler(parser_, &OfficeXMLText::onText);
  // Office parts never need a DTD's entities; an external one is never fetched.
  XML_SetParamEntityParsing(parser_, XML_PARAM_ENTITY_PARSING_NEVER);
}

OfficeXMLText::~OfficeXMLText() { XML_ParserFree(parser_); }

bool OfficeXMLText::feed(const char* data, std::size_t size, bool isFinal) {
  if (!error_.empty()) return false;
  while (size > 0 || isFinal) {
    const int chunk = static_cast<int>(std::min<std::size_t>(size, 1 << 20));
    const bool last = isFinal && static_cast<std::size_t>(chunk) == size;
    if (XML_Parse(parser_, data, chunk, last) == XML_STATUS_ERROR) {
      error_ = std::string(XML_ErrorString(XML_GetErrorCode(parser_))) + " at line " +
               std::to_string(XML_GetCurrentLineNumber(parser_));
      return false;
    }
    data += chunk;
    size -= static_cast<std::size_t>(chunk);
    if (last) break;
  }
  return true;
}

std::optional<std::string> OfficeXMLText::textOf(Kind kind, std::string_view xml,
                                                 const std::vector<std::string>* sharedStrings) {
  OfficeXMLText reader(kind, sharedStrings);
  if (!reader.feed(xml.data(), xml.size(), true)) return std::nullopt;
  return reader.text_;
}

void OfficeXMLText::onStart(void* self, const char* name, const char** attributes) {
  static_cast<OfficeXMLText*>(self)->start(localName(name), attributes);
}
void OfficeXMLText::onEnd(void* self, const char* name) { static_cast<OfficeXMLText*>(self)->end(localName(name)); }
void OfficeXMLText::onText(void* self, const char* text, int length) {
  static_cast<OfficeXMLText*>(self)->characters(std::string_view(text, static_cast<std::size_t>(length)));
}

void OfficeXMLText::append(std::string_view text) {
  std::string& out = target();
  if (out.size() >= maxTextBytes_) return;
  out.append(text.substr(0, maxTextBytes_ - out.size()));
}

void OfficeXMLText::start(std::string_view name, const char** attributes) {
  switch (kind_) {
    case Kind::wordprocessing:
      if (name == "del") ++skip_;
      else if (name == "t") ++capture_;
      else if (skip_ == 0 && name == "tab") append("\t");
      else if (skip_ == 0 && (name == "br" || name == "cr")) append("\n");
      break;
    case Kind::presentation:
      if (name == "t") ++capture_;
      else if (name == "br") append("\n");
      break;
    case Kind::sharedStrings:
      if (name == "si") {
        capturingCell_ = true;
        cell_.clear();
      } else if (name == "rPh") {
        ++skip_;  // phonetic readings repeat the string
      } else if (name == "t") {
        ++capture_;
      }
      break;
    case Kind::worksheet:
      if (name == "c") {
        const char* type = attribute(attributes, "t");
        cellType_ = type ? type : "";
        capturingCell_ = true;
        cell_.clear();
      } else if (name == "v") {
        inValue_ = true;
        ++capture_;
      } else if (name == "t") {
        ++capture_;
      }
      break;
    case Kind::openDocument:
      if (name == "p" || name == "h") {
        ++paragraph_;
      } else if (paragraph_ > 0 && name == "s") {
        int count = 1;
        if (const char* c = attribute(attributes, "c")) {
          std::from_chars(c, c + std::strlen(c), count);
          if (count < 1 || count > 1024) count = 1;
        }
        append(std::string(static_cast<std::size_t>(count), ' '));
      } else if (paragraph_ > 0 && name == "tab") {
        append("\t");
      } else if (paragraph_ > 0 && name == "line-break") {
        append("\n");
      } else if (name == "annotation") {
        ++skip_;
      }
      break;
  }
}

void OfficeXMLText::end(std::string_view name) {
  switch (kind_) {
    case Kind::wordprocessing:
      if (name == "del" && skip_ > 0) --skip_;
      else if (name == "t" && capture_ > 0) --capture_;
      else if (name == "p" && skip_ == 0) append("\n");
      break;
    case Kind::presentation:
      if (name == "t" && capture_ > 0) --capture_;
      else if (name == "p") append("\n");
      break;
    case Kind::sharedStrings:
      if (name == "t" && capture_ > 0) {
        --capture_;
      } else if (name == "rPh" && skip_ > 0) {
        --skip_;
      } else if (name == "si" && capturingCell_) {
        capturingCell_ = false;
        strings_.push_back(cell_);
        append(cell_);
        append("\n");
      }
      break;
    case Kind::worksheet:
      if (name == "v" && capture_ > 0) {
        --capture_;
        inValue_ = false;
      } else if (name == "t" && capture_ > 0) {
        --capture_;
      } else if (name == "c" && capturingCell_) {
        capturingCell_ = false;
        std::string value = std::move(cell_);
        cell_.clear();
        if (cellType_ == "s") {
          std::size_t index = 0;
          auto parsed = std::from_chars(value.data(), value.data() + value.size(), index);
          value = (parsed.ec == std::errc() && sharedStrings_ && index < sharedStrings_->size())
                      ? (*sharedStrings_)[index]
                      : std::string();
        }
        if (!value.empty()) {
          append(value);
          append("\t");
        }
      } else if (name == "row") {
        append("\n");
      }
      break;
    case Kind::openDocument:
      if ((name == "p" || name == "h") && paragraph_ > 0) {
        --paragraph_;
        if (skip_ == 0) append("\n");
      } else if (name == "annotation" && skip_ > 0) {
        --skip_;
      }
      break;
  }
}

void OfficeXMLText::characters(std::string_view text) {
  if (skip_ > 0) return;
  const bool wanted = kind_ == Kind::openDocument ? paragraph_ > 0 : capture_ > 0;
  if (wanted) append(text);
}

}  // namespace velmora
