// LIN files: the import of a library written by another program, the export and its banner,
// the import rules, bad files and failing disks.

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "support/faulty_env.h"
#include "support/temp_folder.h"
#include "support/ui_fixture.h"
#include "vxkd/drawingdefs/linetype_def.h"
#include "vxkd/platform/sz.h"

using namespace cuWin;

namespace {

using vxkd_test::TempFolder;
using namespace std::string_literals;

// The office library: 46 linetypes written with CRLF line ends, comments between and inside
// definitions, complex linetypes with text and shape references.
const std::string kLibrary = VXKD_TEST_SOURCE_DIR "/drawingdefs/data/tessund-office.lin";
constexpr int kLibraryLinetypes = 46;

constexpr unsigned kWarningStyle = MB_OK | MB_ICONEXCLAMATION | MB_TASKMODAL;
constexpr const wchar_t* kNoLinetypes = L"No linetypes found in the file";

std::wstring names(const CKdObjArray& defs) {
  std::wstring out;
  for (int i = 0; i < defs.length(); ++i) out += (i ? L" " : L"") + std::wstring(defs.nameAt(i));
  return out;
}

void expectSame(const CKdLinetypeDefArray& a, const CKdLinetypeDefArray& b) {
  ASSERT_EQ(a.length(), b.length()) << cuSz::toUtf8(names(a)) << "\n" << cuSz::toUtf8(names(b));
  for (int i = 0; i < a.length(); ++i) EXPECT_TRUE(*a.objAt(i) == *b.objAt(i)) << "linetype " << i;
}

// The file's lines without the banner (its first six lines).
std::string withoutBanner(const std::string& text) {
  size_t pos = 0;
  for (int i = 0; i < 6 && pos != std::string::npos; ++i) pos = text.find('\n', pos) + 1;
  return pos == std::string::npos ? "" : text.substr(pos);
}

class LinFileTest : public vxkd_test::TextsUiTest {
 protected:
  CWsz path(const char* name) const { return dir_.path(CWsz::fromUtf8(name)); }
  // Writes `bytes` as the file `name` and imports it into `defs_`.
  bool importText(const char* name, const std::string& bytes) {
    EXPECT_TRUE(dir_.write(name, bytes));
    return defs_.importLin(nullptr, path(name), &report_);
  }

  TempFolder dir_;
  CKdLinetypeDefArray defs_;
  CKdDefImportReport report_;
};

TEST_F(LinFileTest, ImportsEveryDefinitionOfALibraryWrittenByAnotherProgram) {
  ASSERT_TRUE(defs_.importLin(nullptr, CWsz::fromUtf8(kLibrary.c_str()), &report_));
  EXPECT_EQ(ui_.boxCount(), 0);
  EXPECT_EQ(report_.added().length(), kLibraryLinetypes);
  EXPECT_EQ(report_.skipped().length(), 0) << report_.skipped().join(L"; ").toUtf8();
  ASSERT_EQ(defs_.length(), 1 + kLibraryLinetypes);
  EXPECT_EQ(CWsz(defs_.nameAt(1)), L"TS_DASH");
  EXPECT_EQ(CWsz(defs_.nameAt(kLibraryLinetypes)), L"TS_BOX_SEQUENCE");
  for (int i = 0; i < defs_.length(); ++i) {
    EXPECT_EQ(defs_.objAt(i)->data().find(L'\r'), -1) << i;
    EXPECT_EQ(defs_.objAt(i)->desc().find(L'\r'), -1) << i;
  }

  struct Expected {
    const wchar_t* name;
    const wchar_t* desc;
    const wchar_t* data;
  } expected[] = {
      // Header without a comma: no description.
      {L"TS_DEMOLISH", L"", L"A,.375,-.1875"},
      // Everything after the first comma is the description, commas included.
      {L"TS_EXISTING", L"Existing services (kept),  for surveys", L"A,.75,-.25,.125,-.25"},
      // A comment between the header and its pattern line.
      {L"TS_FIBRE", L"Fibre optic ---- LWL ---- LWL ---- LWL ----",
       L"A,.5,-.3,[\"LWL\",STANDARD,S=.1,R=0.0,X=-0.15,Y=-.05],-.25"},
      {L"TS_TEMP_90", L"Flow 90 °C ---- 90° ---- 90° ---- 90° ----",
       L"A,.5,-.25,[\"90°\",STANDARD,S=.1,R=0.0,X=-0.1,Y=-.05],-.2"},
      {L"TS_INSULATION", L"Insulation /\\/\\/\\/\\/\\/\\/\\/\\/\\/\\/\\/\\/\\/\\/\\/\\",
       L"A,.0001,-.1,[ZIGZAG,tsshapes.shx,S=.2,X=-.1],-.2,[ZIGZAG,tsshapes.shx,S=.2,R=180,X=.1],"
       L"-.1"},
  };
  for (const Expected& e : expected) {
    const CKdLinetypeDef* def = defs_.findLinetypeDef(e.name);
    ASSERT_NE(def, nullptr) << cuSz::toUtf8(e.name);
    EXPECT_EQ(def->desc(), e.desc) << cuSz::toUtf8(e.name);
    EXPECT_EQ(def->data(), e.data) << cuSz::toUtf8(e.name);
  }
}

TEST_F(LinFileTest, ExportingAnImportedLibraryGivesTheSameDefinitionsBack) {
  ASSERT_TRUE(defs_.importLin(nullptr, CWsz::fromUtf8(kLibrary.c_str())));
  ASSERT_TRUE(defs_.exportLin(nullptr, path("again.lin")));
  CKdLinetypeDefArray back;
  ASSERT_TRUE(back.importLin(nullptr, path("again.lin")));
  expectSame(back, defs_);

  std::string text = dir_.read("again.lin");
  EXPECT_EQ(text.find('\r'), std::string::npos);
  // Without a description the header is written without a comma.
  EXPECT_NE(text.find("\n*TS_DEMOLISH\nA,.375,-.1875\n"), std::string::npos);
  EXPECT_NE(text.find("\n*TS_TEMP_90,Flow 90 °C"), std::string::npos);  // UTF-8
  EXPECT_EQ(text.find("CONTINUOUS"), std::string::npos);
}

TEST_F(LinFileTest, ExportWritesTheBannerAndEachLinetypeAsHeaderAndPattern) {
  CKdLinetypeDef dashed(L"DASHED", L"Dashed __ __", L"A,.5,-.25");
  CKdLinetypeDef bare(L"BARE", L"", L"A,0,-.1");
  defs_.append(&dashed);
  defs_.append(&bare);
  ASSERT_TRUE(defs_.exportLin(nullptr, path("out.lin")));
  std::string text = dir_.read("out.lin");
  std::regex banner(
      ";; -----------------------------------\n"
      ";; VANTRIX - LINETYPE DEFINITION FILE\n"
      ";;\n"
      ";; Date: [^\n]+\n"
      ";; -----------------------------------\n"
      "\n"
      "[^]*");
  EXPECT_TRUE(std::regex_match(text, banner)) << text;
  EXPECT_EQ(withoutBanner(text), "*DASHED,Dashed __ __\nA,.5,-.25\n*BARE\nA,0,-.1\n");

  CKdLinetypeDefArray onlyBuiltIn;
  ASSERT_TRUE(onlyBuiltIn.exportLin(nullptr, path("empty.lin")));
  EXPECT_EQ(withoutBanner(dir_.read("empty.lin")), "");
}

// The banner's date is in the user's short date format, also when the process itself runs
// in the "C" locale (as a host may).
TEST_F(LinFileTest, BannerDateFollowsTheUsersDateFormat) {
  bool german = std::setlocale(LC_TIME, "de_DE.UTF-8") != nullptr;
  std::setlocale(LC_TIME, "C");
  if (!german) GTEST_SKIP() << "no German locale to test with";
  struct Case {
    const char* locale;
    const char* date;
  } cases[] = {{"de_DE.UTF-8", R"(\d\d\.\d\d\.\d{4})"}, {"C", R"(\d\d/\d\d/\d\d)"}};
  for (const Case& c : cases) {
    vxkd_test::ScopedEnv all("LC_ALL", c.locale);
    ASSERT_TRUE(defs_.exportLin(nullptr, path("dated.lin")));
    std::smatch match;
    std::string text = dir_.read("dated.lin");
    EXPECT_TRUE(
        std::regex_search(text, match, std::regex(std::string(";; Date: ") + c.date + "\n")))
        << c.locale << ": " << text;
  }
}

TEST_F(LinFileTest, ImportReplacesExistingNamesAndAppendsTheOthers) {
  CKdLinetypeDef dashed(L"Dashed", L"old", L"A,1,-1");
  defs_.append(&dashed);
  ASSERT_TRUE(importText("mixed.lin",
                         "*DASHED,new description\n"
                         "A,.5,-.25\n"
                         "*HIDDEN,Hidden\n"
                         "A,.25,-.125\n"
                         "*hidden,Hidden again\n"
                         "A,.2,-.1\n"));
  EXPECT_EQ(names(defs_), L"CONTINUOUS Dashed HIDDEN");
  EXPECT_EQ(defs_.objAt(1)->desc(), L"new description");
  EXPECT_EQ(defs_.objAt(1)->data(), L"A,.5,-.25");
  EXPECT_EQ(defs_.objAt(2)->desc(), L"Hidden again");  // the file's later definition wins
  EXPECT_EQ(report_.added().join(L","), L"HIDDEN");
  EXPECT_EQ(report_.replaced().join(L","), L"Dashed,HIDDEN");
}

TEST_F(LinFileTest, TheNamesEveryDrawingKnowsAreNeverImported) {
  ASSERT_TRUE(importText("reserved.lin",
                         "*BYLAYER,By layer\nA,1\n"
                         "*ByBlock,By block\nA,1\n"
                         "*continuous,Solid ____\nA,1\n"
                         "*KEEP,Kept\nA,1,-1\n"));
  EXPECT_EQ(names(defs_), L"CONTINUOUS KEEP");
  EXPECT_EQ(defs_.objAt(0)->desc(), L"__________");
  EXPECT_EQ(report_.skipped().length(), 3);
}

// Files that give nothing to import: the warning, false, and the linetypes as they were.
TEST_F(LinFileTest, AFileWithoutLinetypesWarnsAndChangesNothing) {
  struct Case {
    const char* what;
    std::string bytes;
  } cases[] = {
      {"empty", ""},
      {"binary", "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\n*X,Y\nA,1\n"s},
      {"comments only", ";; nothing\r\n;; here\r\n"},
      {"header without pattern at the end", ";; x\r\n*LAST,Last one\r\n"},
      {"header followed by a header", "*FIRST,a\n*SECOND,b\n"},
      {"header without a name", "*,nameless\nA,1\n"},
      {"too long a pattern", "*LONG,Long\nA," + std::string(100000, '1') + "\n"},
      {"pattern lines without a header", "A,.5,-.25\nA,1\n"},
  };
  CKdLinetypeDef existing(L"EXISTING", L"e", L"A,1");
  defs_.append(&existing);
  CKdLinetypeDefArray before(defs_);
  for (const Case& c : cases) {
    ui_.clear();
    EXPECT_FALSE(importText("bad.lin", c.bytes)) << c.what;
    EXPECT_TRUE(lastBoxIs(kNoLinetypes, L"Vantrix", kWarningStyle)) << c.what;
    expectSame(defs_, before);
  }
  ui_.clear();
  EXPECT_FALSE(defs_.importLin(nullptr, path("missing.lin")));
  EXPECT_TRUE(lastBoxIs(kNoLinetypes, L"Vantrix", kWarningStyle));
  EXPECT_FALSE(defs_.importLin(nullptr, dir_.wide()));  // a folder
  expectSame(defs_, before);
}

TEST_F(LinFileTest, DefinitionsThatCannotBeImportedAreReportedAndTheRestIsImported) {
  ASSERT_TRUE(importText("partly.lin",
                         "*,nameless\nA,1\n"
                         "*GOOD,Good\nA,.5,-.5\n"
                         "*LONG,Long\nA," +
                             std::string(100000, '1') +
                             "\n"
                             "*BYLAYER\nA,1\n"
                             "*LAST,No pattern\n"));
  EXPECT_EQ(names(defs_), L"CONTINUOUS GOOD");
  EXPECT_EQ(report_.skipped().join(L"|"),
            L"line 1: no name|LONG: a line too long|BYLAYER: a name every drawing has "
            L"already|LAST: no pattern line");
}

// What other programs write: Windows-1252, UTF-16 with its byte order mark, UTF-8 with one,
// old Macintosh line ends.
TEST_F(LinFileTest, ReadsTheEncodingsAndLineEndsOfOtherPrograms) {
  struct Case {
    const char* what;
    std::string bytes;
  } cases[] = {
      {"Windows-1252",
       "*T90,Vorlauf 90\xB0"
       "C \x96 \x80\r\nA,.5,-.25\r\n"},
      {"UTF-8 with BOM",
       "\xEF\xBB\xBF*T90,Vorlauf 90\xC2\xB0"
       "C \xE2\x80\x93 \xE2\x82\xAC\nA,.5,-.25"},
      {"carriage returns",
       "*T90,Vorlauf 90\xC2\xB0"
       "C \xE2\x80\x93 \xE2\x82\xAC\rA,.5,-.25\r"},
  };
  for (const Case& c : cases) {
    CKdLinetypeDefArray defs;
    ASSERT_TRUE(dir_.write("enc.lin", c.bytes));
    ASSERT_TRUE(defs.importLin(nullptr, path("enc.lin"))) << c.what;
    ASSERT_EQ(defs.length(), 2) << c.what;
    EXPECT_EQ(defs.objAt(1)->desc(), L"Vorlauf 90°C – €") << c.what;
    EXPECT_EQ(defs.objAt(1)->data(), L"A,.5,-.25") << c.what;
  }
  std::u16string utf16 = u"\uFEFF*T90,Vorlauf 90°C – €\r\nA,.5,-.25\r\n";
  std::string bytes;
  for (char16_t u : utf16) bytes += {static_cast<char>(u & 0xFF), static_cast<char>(u >> 8)};
  CKdLinetypeDefArray defs;
  ASSERT_TRUE(dir_.write("utf16.lin", bytes));
  ASSERT_TRUE(defs.importLin(nullptr, path("utf16.lin")));
  ASSERT_EQ(defs.length(), 2);
  EXPECT_EQ(defs.objAt(1)->desc(), L"Vorlauf 90°C – €");
}

// A failing disk: the error box names the file, and an existing file is left as it was,
// without a temporary file beside it.
TEST_F(LinFileTest, AFailedExportLeavesTheOldFileWhole) {
  CKdLinetypeDef dashed(L"DASHED", L"", L"A,.5,-.25");
  defs_.append(&dashed);
  ASSERT_TRUE(dir_.write("office.lin", "old content\n"));
  for (int step = 0; step < 2; ++step) {
    ui_.clear();
    vxkd_test::FaultyEnv env;
    if (step == 0)
      env.failWrites(ENOSPC);
    else
      env.failRenames(EACCES);
    EXPECT_FALSE(defs_.exportLin(nullptr, path("office.lin")));
    auto box = ui_.lastBox();
    EXPECT_EQ(box.caption, L"Export Failed");
    EXPECT_EQ(box.style, MB_OK | MB_ICONSTOP | MB_TASKMODAL);
    EXPECT_NE(box.text.find(L"The file cannot be written:\r\n" + path("office.lin").str()),
              std::wstring::npos);
    EXPECT_EQ(dir_.read("office.lin"), "old content\n");
  }
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dir_.native())) {
    (void)entry;
    ++files;
  }
  EXPECT_EQ(files, 1);

  EXPECT_FALSE(defs_.exportLin(nullptr, path("no/such/folder/out.lin")));
  EXPECT_NE(ui_.lastBox().text.find(L"No such file or directory"), std::wstring::npos);
}

TEST_F(LinFileTest, TheDialogFormsAskForTheFileFirst) {
  CKdLinetypeDef dashed(L"DASHED", L"", L"A,.5,-.25");
  defs_.append(&dashed);

  ui_.cancelFileDialog();
  EXPECT_FALSE(defs_.exportLin(nullptr));
  ASSERT_EQ(ui_.interactions().size(), 1u);
  EXPECT_EQ(ui_.interactions()[0].kind, CRecordingUiBackend::Kind::saveFile);
  EXPECT_EQ(ui_.interactions()[0].text, L"Export File Name");
  EXPECT_EQ(ui_.interactions()[0].caption, L"*.LIN|*.LIN|");

  // A name without extension gets the default one; a name with one keeps it.
  ui_.answerFileDialogWith(path("lines"));
  ASSERT_TRUE(defs_.exportLin(nullptr));
  EXPECT_TRUE(std::filesystem::exists(dir_.native("lines.LIN")));
  ui_.answerFileDialogWith(path("lines.txt"));
  ASSERT_TRUE(defs_.exportLin(nullptr));
  EXPECT_TRUE(std::filesystem::exists(dir_.native("lines.txt")));

  CKdLinetypeDefArray imported;
  ui_.clear();
  ui_.cancelFileDialog();
  EXPECT_FALSE(imported.importLin(nullptr));
  EXPECT_EQ(ui_.interactions()[0].kind, CRecordingUiBackend::Kind::openFile);
  EXPECT_EQ(ui_.interactions()[0].text, L"Import File Name");
  EXPECT_EQ(ui_.boxCount(), 0);
  EXPECT_EQ(imported.length(), 1);
  ui_.answerFileDialogWith(path("lines.LIN"));
  ASSERT_TRUE(imported.importLin(nullptr));
  expectSame(imported, defs_);
}

}  // namespace
