#pragma once
// Small documents made on the spot for the import tests and benchmarks: a
// PDF written by hand, office documents zipped with libzip.
#include <zip.h>

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace velmora::test {

// A PDF with one page per text, each line of a page drawn in Helvetica.
inline std::string makePDF(const std::vector<std::vector<std::string>>& pages, int fontSize = 12) {
  std::vector<std::string> objects;  // object i+1
  const int pageCount = static_cast<int>(pages.size());
  // 1: catalog, 2: pages, 3: font, then per page: page object and content stream.
  objects.push_back("<< /Type /Catalog /Pages 2 0 R >>");
  std::string kids;
  for (int i = 0; i < pageCount; ++i) kids += std::to_string(4 + 2 * i) + " 0 R ";
  objects.push_back("<< /Type /Pages /Kids [" + kids + "] /Count " + std::to_string(pageCount) + " >>");
  objects.push_back("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>");
  for (int i = 0; i < pageCount; ++i) {
    objects.push_back("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Resources << /Font << /F1 3 0 R >> >> "
                      "/Contents " + std::to_string(5 + 2 * i) + " 0 R >>");
    std::string stream = "BT /F1 " + std::to_string(fontSize) + " Tf " + std::to_string(fontSize + 4) + " TL 40 740 Td ";
    for (const auto& line : pages[i]) {
      std::string escaped;
      for (char c : line) {
        if (c == '(' || c == ')' || c == '\\') escaped.push_back('\\');
        escaped.push_back(c);
      }
      stream += "(" + escaped + ") Tj T* ";
    }
    stream += "ET";
    objects.push_back("<< /Length " + std::to_string(stream.size()) + " >>\nstream\n" + stream + "\nendstream");
  }
  std::string pdf = "%PDF-1.4\n";
  std::vector<std::size_t> offsets;
  for (std::size_t i = 0; i < objects.size(); ++i) {
    offsets.push_back(pdf.size());
    pdf += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
  }
  const std::size_t xref = pdf.size();
  pdf += "xref\n0 " + std::to_string(objects.size() + 1) + "\n0000000000 65535 f \n";
  for (std::size_t offset : offsets) {
    char entry[32];
    std::snprintf(entry, sizeof entry, "%010zu 00000 n \n", offset);
    pdf += entry;
  }
  pdf += "trailer\n<< /Size " + std::to_string(objects.size() + 1) + " /Root 1 0 R >>\nstartxref\n" +
         std::to_string(xref) + "\n%%EOF\n";
  return pdf;
}

// A zip of the given parts (name, contents), deflated at `level`.
inline void writeZip(const std::filesystem::path& file, const std::vector<std::pair<std::string, std::string>>& parts,
                     int level = 6) {
  int error = 0;
  zip_t* archive = zip_open(file.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
  if (!archive) throw std::runtime_error("cannot create " + file.string());
  // libzip reads the buffers at zip_close, so they must live until then.
  for (const auto& [name, contents] : parts) {
    zip_source_t* source = zip_source_buffer(archive, contents.data(), contents.size(), 0);
    zip_int64_t index = zip_file_add(archive, name.c_str(), source, ZIP_FL_OVERWRITE);
    zip_set_file_compression(archive, static_cast<zip_uint64_t>(index), ZIP_CM_DEFLATE, static_cast<zip_uint32_t>(level));
  }
  if (zip_close(archive) != 0) throw std::runtime_error("cannot write " + file.string());
}

inline std::string docxDocument(const std::string& body) {
  return R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<w:document xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main"><w:body>)" +
         body + "</w:body></w:document>";
}

inline std::string odfContent(const std::string& body) {
  return R"(<?xml version="1.0" encoding="UTF-8"?>
<office:document-content xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0" xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0" xmlns:table="urn:oasis:names:tc:opendocument:xmlns:table:1.0"><office:body>)" +
         body + "</office:body></office:document-content>";
}

}  // namespace velmora::test
