#include "textimport/OfficeDocumentImporter.h"

#include <fcntl.h>
#include <unistd.h>
#include <zip.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "textimport/OfficeXMLText.h"

namespace velmora {

namespace {

struct ZipClose {
  void operator()(zip_t* archive) const { zip_discard(archive); }
};
struct ZipFileClose {
  void operator()(zip_file_t* file) const { zip_fclose(file); }
};
using Archive = std::unique_ptr<zip_t, ZipClose>;

Archive openArchive(const ImportFile& file, std::string& failure) {
  int error = 0;
  zip_t* archive = nullptr;
  if (file.fd >= 0) {
    // libzip closes what it is given; the caller keeps its own descriptor.
    int copy = ::fcntl(file.fd, F_DUPFD_CLOEXEC, 0);
    if (copy < 0) {
      failure = "cannot duplicate the file descriptor";
      return nullptr;
    }
    ::lseek(copy, 0, SEEK_SET);
    archive = zip_fdopen(copy, ZIP_RDONLY, &error);
    if (!archive) ::close(copy);
  } else {
    archive = zip_open(file.path.c_str(), ZIP_RDONLY, &error);
  }
  if (!archive) {
    zip_error_t z;
    zip_error_init_with_code(&z, error);
    failure = std::string("not a readable office document (") + zip_error_strerror(&z) + ")";
    zip_error_fini(&z);
  }
  return Archive(archive);
}

// Feeds one part to the reader; false with a failure when the part is
// missing (and required), damaged, malformed or inflates past the ceiling.
bool readPart(zip_t* archive, const std::string& name, OfficeXMLText& reader, std::string& failure) {
  zip_int64_t index = zip_name_locate(archive, name.c_str(), 0);
  if (index < 0) {
    failure = "the document has no part " + name;
    return false;
  }
  std::unique_ptr<zip_file_t, ZipFileClose> part(zip_fopen_index(archive, static_cast<zip_uint64_t>(index), 0));
  if (!part) {
    failure = "cannot read the part " + name + ": " + zip_strerror(archive);
    return false;
  }
  std::string buffer(64 * 1024, '\0');
  std::size_t total = 0;
  for (;;) {
    zip_int64_t got = zip_fread(part.get(), buffer.data(), buffer.size());
    if (got < 0) {
      failure = "damaged part " + name + ": " + zip_file_strerror(part.get());
      return false;
    }
    total += static_cast<std::size_t>(got);
    if (total > OfficeDocumentImporter::maxInflatedPartBytes) {
      failure = "the part " + name + " inflates beyond 256 MB (a zip bomb?)";
      return false;
    }
    if (!reader.feed(buffer.data(), static_cast<std::size_t>(got), got == 0)) {
      failure = "malformed XML in " + name + ": " + reader.error();
      return false;
    }
    if (got == 0) return true;
  }
}

// Parts named prefix + number + ".xml", in the order of their numbers.
std::vector<std::string> numberedParts(zip_t* archive, const std::string& prefix) {
  std::vector<std::pair<long, std::string>> found;
  const zip_int64_t count = zip_get_num_entries(archive, 0);
  for (zip_int64_t i = 0; i < count; ++i) {
    const char* name = zip_get_name(archive, static_cast<zip_uint64_t>(i), 0);
    if (!name) continue;
    std::string n(name);
    if (!n.starts_with(prefix) || !n.ends_with(".xml")) continue;
    std::string number = n.substr(prefix.size(), n.size() - prefix.size() - 4);
    if (number.empty() || !std::all_of(number.begin(), number.end(), ::isdigit) || number.size() > 9) continue;
    found.emplace_back(std::atol(number.c_str()), n);
  }
  std::sort(found.begin(), found.end());
  std::vector<std::string> names;
  for (auto& f : found) names.push_back(std::move(f.second));
  return names;
}

void cutToCharacters(std::string& text, std::size_t maxLength) {
  if (maxLength >= text.size()) return;
  std::size_t characters = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0) == 0x80) continue;
    if (characters == maxLength) {
      text.resize(i);
      return;
    }
    ++characters;
  }
}

}  // namespace

std::optional<ImportTextTools::ImportTextResult> OfficeDocumentImporter::importDocument(Format format,
                                                                                        const ImportFile& file,
                                                                                        std::size_t maxLength,
                                                                                        std::string& failure) {
  Archive archive = openArchive(file, failure);
  if (!archive) return std::nullopt;
  std::string text;
  switch (format) {
    case Format::docx: {
      OfficeXMLText reader(OfficeXMLText::Kind::wordprocessing);
      if (!readPart(archive.get(), "word/document.xml", reader, failure)) return std::nullopt;
      text = reader.text();
      break;
    }
    case Format::openDocument: {
      OfficeXMLText reader(OfficeXMLText::Kind::openDocument);
      if (!readPart(archive.get(), "content.xml", reader, failure)) return std::nullopt;
      text = reader.text();
      break;
    }
    case Format::pptx: {
      auto slides = numberedParts(archive.get(), "ppt/slides/slide");
      if (slides.empty()) {
        failure = "the presentation has no slides";
        return std::nullopt;
      }
      for (const auto& slide : slides) {
        OfficeXMLText reader(OfficeXMLText::Kind::presentation);
        if (!readPart(archive.get(), slide, reader, failure)) return std::nullopt;
        text += reader.text();
        text += '\n';
      }
      break;
    }
    case Format::xlsx: {
      OfficeXMLText strings(OfficeXMLText::Kind::sharedStrings);
      // A workbook of numbers only has no shared strings.
      if (zip_name_locate(archive.get(), "xl/sharedStrings.xml", 0) >= 0 &&
          !readPart(archive.get(), "xl/sharedStrings.xml", strings, failure))
        return std::nullopt;
      auto sheets = numberedParts(archive.get(), "xl/worksheets/sheet");
      if (sheets.empty()) {
        failure = "the workbook has no sheets";
        return std::nullopt;
      }
      for (const auto& sheet : sheets) {
        OfficeXMLText reader(OfficeXMLText::Kind::worksheet, &strings.strings());
        if (!readPart(archive.get(), sheet, reader, failure)) return std::nullopt;
        text += reader.text();
      }
      break;
    }
  }
  cutToCharacters(text, maxLength);
  ImportTextTools::ImportTextResult result;
  result.text = std::vector<ImportTextTools::Page>{{std::move(text)}};
  return result;
}

ImportTextTools::ImportFunction OfficeDocumentImporter::importerFor(Format format) {
  return [format](const ImportFile& file, std::size_t maxLength, bool, const ImportTextTools::ProgressHandler&,
                  const ImportTextTools::ShouldCancel&, std::string& failure) {
    return importDocument(format, file, maxLength, failure);
  };
}

}  // namespace velmora
