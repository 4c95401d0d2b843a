#include "textimport/HTMLImporter.h"

#include <libxml/HTMLparser.h>
#include <libxml/tree.h>
#include <strings.h>

#include <memory>

#include "textimport/PlainTextImporter.h"

namespace velmora {

namespace {

struct DocFree {
  void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};

bool isSkipped(const xmlNode* node) {
  const char* name = reinterpret_cast<const char*>(node->name);
  return name && (!strcasecmp(name, "script") || !strcasecmp(name, "style") || !strcasecmp(name, "noscript") ||
                  !strcasecmp(name, "template"));
}

// Elements after which words must not run together.
bool breaksWords(const xmlNode* node) {
  static constexpr const char* names[] = {"p",  "div", "br", "li", "tr", "td", "th", "h1", "h2", "h3", "h4",
                                          "h5", "h6",  "dt", "dd", "pre", "blockquote", "title", "option", "hr",
                                          "section", "article", "header", "footer", "table", "ul", "ol"};
  const char* name = reinterpret_cast<const char*>(node->name);
  if (!name) return false;
  for (const char* n : names)
    if (!strcasecmp(name, n)) return true;
  return false;
}

void appendText(std::string& out, const char* text) {
  for (const char* p = text; *p; ++p) {
    if (static_cast<unsigned char>(p[0]) == 0xC2 && static_cast<unsigned char>(p[1]) == 0xA0) {
      out.push_back(' ');
      ++p;
    } else {
      out.push_back(*p);
    }
  }
}

}  // namespace

std::optional<std::string> HTMLImporter::textOfHTML(std::string_view html) {
  if (html.size() > static_cast<std::size_t>(INT32_MAX)) return std::nullopt;
  std::unique_ptr<xmlDoc, DocFree> doc(
      htmlReadMemory(html.data(), static_cast<int>(html.size()), "", "UTF-8",
                     HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET));
  if (!doc) return std::nullopt;
  std::string out;
  // An explicit walk: hostile documents nest deeper than a thread's stack.
  const xmlNode* node = xmlDocGetRootElement(doc.get());
  const xmlNode* root = node;
  while (node) {
    bool descend = false;
    if (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE) {
      if (node->content) appendText(out, reinterpret_cast<const char*>(node->content));
    } else if (node->type == XML_ELEMENT_NODE && !isSkipped(node)) {
      descend = node->children != nullptr;
      if (!descend && breaksWords(node)) out.push_back('\n');
    }
    if (descend) {
      node = node->children;
      continue;
    }
    while (node && node != root && !node->next) {
      node = node->parent;
      if (node && node->type == XML_ELEMENT_NODE && breaksWords(node)) out.push_back('\n');
    }
    if (!node || node == root) break;
    node = node->next;
  }
  return out;
}

std::optional<ImportTextTools::ImportTextResult> HTMLImporter::importHTML(const ImportFile& file, std::size_t, bool,
                                                                          const ImportTextTools::ProgressHandler&,
                                                                          const ImportTextTools::ShouldCancel&,
                                                                          std::string& failure) {
  std::string bytes;
  if (!file.readAll(bytes, failure)) return std::nullopt;
  if (!PlainTextImporter::isValidUTF8(bytes)) {
    failure = "HTML that is not valid UTF-8";
    return std::nullopt;
  }
  auto text = textOfHTML(bytes);
  if (!text) {
    failure = "HTML could not be parsed";
    return std::nullopt;
  }
  ImportTextTools::ImportTextResult result;
  result.text = std::vector<ImportTextTools::Page>{{std::move(*text)}};
  return result;
}

}  // namespace velmora
