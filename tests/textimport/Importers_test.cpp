#include <gtest/gtest.h>
#include <poppler-document.h>
#include <poppler-page-renderer.h>
#include <poppler-page.h>

#include <memory>

#include "support/TempHome.h"
#include "TestDocuments.h"
#include "textimport/ContentTypeTable.h"
#include "textimport/ImportTextTools.h"
#include "textimport/OfficeDocumentImporter.h"
#include "textimport/OfficeXMLText.h"

namespace velmora {
namespace {

using test::TempHome;
using test::writeFile;
using Pages = std::vector<std::string>;

Pages pagesOf(const std::optional<std::vector<ImportTextTools::Page>>& pages) {
  Pages out;
  if (pages)
    for (const auto& p : *pages) out.push_back(p.text);
  return out;
}

class Importers : public ::testing::Test {
 protected:
  std::string file(const std::string& name, const std::string& contents) {
    auto path = home.tree("docs") / name;
    writeFile(path, contents);
    return path.string();
  }
  std::optional<ImportTextTools::ImportTextResult> import(const std::string& path, bool all = false,
                                                          bool ocr = false) {
    return tools.importFileText(path, all, ImportTextTools::unlimitedLength, ocr);
  }
  TempHome home;
  ImportTextTools tools;
};

TEST_F(Importers, DispatchTable) {
  EXPECT_EQ(ContentTypeTable::typeIdentifier("/x/a.PDF"), "com.adobe.pdf");
  EXPECT_EQ(ContentTypeTable::typeIdentifier("/x/a.docx"), "org.openxmlformats.wordprocessingml.document");
  EXPECT_EQ(ContentTypeTable::typeIdentifier("/x/a.odt"), "org.oasis-open.opendocument.text");
  EXPECT_EQ(ContentTypeTable::typeIdentifier("/x/a.webarchive"), "com.apple.webarchive");
  EXPECT_TRUE(tools.canImportTextFrom("/x/a.txt", false));
  EXPECT_TRUE(tools.canImportTextFrom("/x/a.xlsx", false));
  EXPECT_TRUE(tools.canImportTextFrom("/x/a.rtf", false));
  EXPECT_TRUE(tools.canImportTextFrom("/x/mail.EMLX", false)) << "raw extensions compare lowercased";
  EXPECT_TRUE(tools.canImportTextFrom("/x/main.cpp", false));
  EXPECT_FALSE(tools.canImportTextFrom("/x/a.webarchive", false)) << "web archives are never imported";
  EXPECT_FALSE(tools.canImportTextFrom("/x/a.webarchive", true));
  EXPECT_FALSE(tools.canImportTextFrom("/x/a.png", false)) << "images only with OCR";
  EXPECT_TRUE(tools.canImportTextFrom("/x/a.png", true));
  EXPECT_FALSE(tools.canImportTextFrom("/x/a.xyz", false));
  EXPECT_FALSE(tools.canImportTextFrom("/x/noextension", false));

  const auto emlx = file("1.emlx", "Subject: raw mail\n\nbody words");
  EXPECT_EQ(pagesOf(import(emlx)->text), Pages{"Subject: raw mail\n\nbody words"});
  const auto xyz = file("data.xyz", "only with all files");
  EXPECT_FALSE(import(xyz));
  EXPECT_EQ(pagesOf(import(xyz, true)->text), Pages{"only with all files"});
  const auto binary = file("data.bin", std::string("\xFF\xFE\x00\x01", 4));
  EXPECT_FALSE(import(binary, true)) << "the raw reading is UTF-8 only";
  const auto png = file("picture.png", "not even a png");
  EXPECT_FALSE(import(png)) << "an image gives nothing without OCR";
  EXPECT_FALSE(tools.importFileText(file("page.webarchive", "<html>x</html>"), false, 100, true));
}

TEST_F(Importers, PlainTextFallsBackToMacRoman) {
  EXPECT_EQ(pagesOf(import(file("utf8.txt", "caf\xC3\xA9 \xE2\x82\xAC"))->text), Pages{"caf\xC3\xA9 \xE2\x82\xAC"});
  // Invalid UTF-8: Mac OS Roman takes every byte (0x8E is é, 0xDB is €).
  EXPECT_EQ(pagesOf(import(file("roman.txt", "caf\x8E \xDB \xC0"))->text), Pages{"caf\xC3\xA9 \xE2\x82\xAC \xC2\xBF"});
  EXPECT_EQ(pagesOf(import(file("empty.txt", ""))->text), Pages{""});
  auto words = tools.wordsInFile(file("count.txt", "Apple apple, APPLE; pear"), false);
  EXPECT_EQ(words, (ImportTextTools::WordCounts{{"apple", 3}, {"pear", 1}}));
  EXPECT_TRUE(tools.wordsInFile((home.path() / "missing.txt").string(), false).empty());
}

TEST_F(Importers, HTMLSkipsScriptsAndStyles) {
  const auto html = file("page.html",
                         "<html><head><title>Title</title><style>.hidden{}</style><script>var secret = 1;</script>"
                         "</head><body><p>First&nbsp;para</p><noscript>enable js</noscript>"
                         "<template><p>template words</p></template><div>Second<br>line &amp; more</div></body></html>");
  auto text = import(html)->allText(false).value();
  EXPECT_EQ(tools.wordsFromText(text), (Pages{"title", "first", "para", "second", "line", "more"}));
  EXPECT_EQ(text.find("\xC2\xA0"), std::string::npos) << "no-break spaces become blanks";
  EXPECT_FALSE(import(file("bad.html", "<p>\xFF\xFE</p>"))) << "HTML is read as UTF-8 only";
}

TEST_F(Importers, PDFPageByPageWithProgressAndCancel) {
  const auto pdf = file("two.pdf", test::makePDF({{"First page words"}, {"Second page (with parens)"}}));
  std::vector<int> reported;
  auto progress = [&](const std::string&, int p) { reported.push_back(p); };
  auto result = tools.importFileText(pdf, false, ImportTextTools::unlimitedLength, false, progress);
  ASSERT_TRUE(result);
  auto pages = pagesOf(result->text);
  ASSERT_EQ(pages.size(), 2u);
  EXPECT_NE(pages[0].find("First page words"), std::string::npos);
  EXPECT_NE(pages[1].find("Second page (with parens)"), std::string::npos);
  EXPECT_FALSE(result->ocrText);
  EXPECT_EQ(reported, (std::vector<int>{0, 50, 100, 100}));

  // maxLength is checked before each page, so the first page always comes.
  EXPECT_EQ(tools.importFileText(pdf, false, 5, false)->text->size(), 1u);
  // Cancel after the first page: what was gathered, and a last 100.
  reported.clear();
  auto cancelled = tools.importFileText(pdf, false, ImportTextTools::unlimitedLength, false, progress, [] { return true; });
  EXPECT_EQ(cancelled->text->size(), 1u);
  EXPECT_EQ(reported, (std::vector<int>{0, 50, 100}));

  EXPECT_FALSE(import(file("damaged.pdf", "%PDF-1.4\n1 0 obj << /Type /Catalog") ));
  EXPECT_FALSE(tools.lastFailure().empty());
  EXPECT_FALSE(import(file("zero.pdf", "")));
}

TEST_F(Importers, OCROfImagesAndPDFPagesMergesCounts) {
  // A "scan": a PDF page with large type rendered to a PNG at 300 dpi.
  const std::string sentence = "The quick brown fox jumps over the lazy dog";
  const auto source = file("scan-source.pdf", test::makePDF({{sentence}}, 24));
  {
    std::unique_ptr<poppler::document> doc(poppler::document::load_from_file(source));
    std::unique_ptr<poppler::page> page(doc->create_page(0));
    poppler::page_renderer renderer;
    renderer.set_render_hints(poppler::page_renderer::antialiasing | poppler::page_renderer::text_antialiasing);
    ASSERT_TRUE(renderer.render_page(page.get(), 300, 300).save((home.tree("docs") / "scan.png").string(), "png", 300));
  }
  const auto png = (home.tree("docs") / "scan.png").string();
  auto image = import(png, false, true);
  ASSERT_TRUE(image) << tools.lastFailure();
  EXPECT_FALSE(image->text);
  EXPECT_EQ(tools.wordsFromText(image->allText(true).value()), tools.wordsFromText(sentence));

  // PDF with OCR: text and OCR text per page; a word read by both counts
  // once per page at the larger count, not twice.
  const auto pdf = file("ocr.pdf", test::makePDF({{"fox fox", "unique"}}, 24));
  auto result = tools.importFileText(pdf, false, ImportTextTools::unlimitedLength, true);
  ASSERT_TRUE(result);
  ASSERT_EQ(result->ocrText->size(), 1u);
  auto words = tools.wordsInFile(pdf, true);
  EXPECT_EQ(words["fox"], 2);
  EXPECT_EQ(words["unique"], 1);
}

TEST_F(Importers, OfficeDocuments) {
  const auto docx = (home.tree("docs") / "letter.docx").string();
  test::writeZip(docx, {{"[Content_Types].xml", "<Types/>"},
                        {"word/document.xml",
                         test::docxDocument("<w:p><w:r><w:t>Dear</w:t></w:r><w:r><w:tab/><w:t xml:space=\"preserve\">"
                                            "reader &amp; friend</w:t></w:r></w:p><w:p><w:del><w:r><w:delText>gone"
                                            "</w:delText><w:t>removed</w:t></w:r></w:del><w:r><w:t>kept</w:t><w:br/>"
                                            "<w:t>after</w:t></w:r></w:p>")}});
  EXPECT_EQ(import(docx)->allText(false), "Dear\treader & friend\nkept\nafter\n");

  const auto odt = (home.tree("docs") / "note.odt").string();
  test::writeZip(odt, {{"mimetype", "application/vnd.oasis.opendocument.text"},
                       {"content.xml", test::odfContent("<office:text><text:h>Heading</text:h><text:p>one<text:s "
                                                        "text:c=\"3\"/>two<text:tab/>three<text:line-break/>four"
                                                        "<text:span>span</text:span></text:p></office:text>")}});
  EXPECT_EQ(import(odt)->allText(false), "Heading\none   two\tthree\nfourspan\n");

  const auto xlsx = (home.tree("docs") / "sheet.xlsx").string();
  test::writeZip(xlsx, {{"xl/sharedStrings.xml",
                         "<sst><si><t>Name</t></si><si><r><t>Rich</t></r><r><t>Text</t></r><rPh><t>ignored</t></rPh>"
                         "</si></sst>"},
                        {"xl/worksheets/sheet2.xml", "<worksheet><sheetData><row><c><v>7</v></c></row></sheetData></worksheet>"},
                        {"xl/worksheets/sheet1.xml",
                         "<worksheet><sheetData><row><c t=\"s\"><v>0</v></c><c><f>SUM(A1)</f><v>42</v></c></row>"
                         "<row><c t=\"s\"><v>1</v></c><c t=\"inlineStr\"><is><t>inline</t></is></c><c t=\"s\"><v>99</v>"
                         "</c></row></sheetData></worksheet>"}});
  EXPECT_EQ(import(xlsx)->allText(false), "Name\t42\t\nRichText\tinline\t\n7\t\n");

  const auto pptx = (home.tree("docs") / "talk.pptx").string();
  test::writeZip(pptx, {{"ppt/slides/slide10.xml", "<p:sld xmlns:a=\"a\" xmlns:p=\"p\"><a:p><a:r><a:t>tenth</a:t></a:r></a:p></p:sld>"},
                        {"ppt/slides/slide2.xml", "<p:sld xmlns:a=\"a\" xmlns:p=\"p\"><a:p><a:r><a:t>second</a:t></a:r></a:p></p:sld>"}});
  EXPECT_EQ(import(pptx)->allText(false), "second\n\ntenth\n\n");

  // Broken ones fail with a reason, and cost nothing else.
  EXPECT_FALSE(import(file("fake.docx", "PK not a zip")));
  EXPECT_NE(tools.lastFailure().find("not a readable office document"), std::string::npos);
  const auto malformed = (home.tree("docs") / "malformed.docx").string();
  test::writeZip(malformed, {{"word/document.xml", "<w:document><w:t>unclosed"}});
  EXPECT_FALSE(import(malformed));
  EXPECT_NE(tools.lastFailure().find("malformed XML"), std::string::npos);
  const auto entity = (home.tree("docs") / "entity.docx").string();
  test::writeZip(entity, {{"word/document.xml", "<!DOCTYPE d [<!ENTITY x SYSTEM \"file:///etc/passwd\">]>"
                                                "<w:document><w:t>a&x;b</w:t></w:document>"}});
  auto external = import(entity);
  EXPECT_TRUE(!external || external->allText(false)->find("root") == std::string::npos);
}

TEST_F(Importers, ZipBombStopsAtTheCeiling) {
  const auto bomb = (home.tree("docs") / "bomb.docx").string();
  std::string huge = "<w:document><w:t>";
  huge.append(OfficeDocumentImporter::maxInflatedPartBytes + 1024, 'a');
  huge += "</w:t></w:document>";
  test::writeZip(bomb, {{"word/document.xml", huge}}, 1);
  huge = std::string();
  EXPECT_LT(std::filesystem::file_size(bomb), 2u << 20);
  EXPECT_FALSE(import(bomb));
  EXPECT_NE(tools.lastFailure().find("zip bomb"), std::string::npos);
}

TEST_F(Importers, RTFAndWordThroughCatdoc) {
  const auto rtf = file("memo.rtf", "{\\rtf1\\ansi{\\fonttbl\\f0 Helvetica;}\\f0 Hello rtf \\b world\\b0\\par second line}");
  auto words = tools.wordsInFile(rtf, false);
  EXPECT_EQ(words, (ImportTextTools::WordCounts{{"hello", 1}, {"rtf", 1}, {"world", 1}, {"second", 1}, {"line", 1}}));
  // Not a Word file at all: catdoc prints it as it is, which is what it
  // contains; a file that vanished gives nothing.
  EXPECT_FALSE(import((home.path() / "gone.doc").string()));
}

TEST(OfficeXMLText, ReadsInPiecesAsWhole) {
  const std::string xml = test::docxDocument("<w:p><w:r><w:t>split across chunks</w:t></w:r></w:p>");
  OfficeXMLText reader(OfficeXMLText::Kind::wordprocessing);
  for (char c : xml) ASSERT_TRUE(reader.feed(&c, 1, false));
  ASSERT_TRUE(reader.feed(nullptr, 0, true));
  EXPECT_EQ(reader.text(), "split across chunks\n");
  EXPECT_EQ(OfficeXMLText::textOf(OfficeXMLText::Kind::presentation, "<a:t>x</a:y>"), std::nullopt);
}

}  // namespace
}  // namespace velmora
