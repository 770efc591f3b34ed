#include "vxkd/foundation/registry.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <random>
#include <string>

#include "support/faulty_env.h"
#include "support/temp_registry.h"
#include "vxkd/platform/sz.h"

namespace {

using vxkd_test::RegistryTest;

constexpr char kKey[] = "HKEY_CURRENT_USER\\SOFTWARE\\Tessund\\Vantrix";

CSystemRegistry userKey(const wchar_t* product = L"Vantrix") {
  CSystemRegistry key;
  key.initCurrentUserSoftware(L"Tessund", product);
  return key;
}

CSystemRegistry machineKey() {
  CSystemRegistry key;
  key.initLocalMachineSoftware(L"Tessund", L"Vantrix");
  return key;
}

// The DWORD, or -1 when readDw fails (after checking that a failure gives 0).
long long dwordOf(const CSystemRegistry& key, const wchar_t* sub, const wchar_t* name) {
  unsigned long value = 12345;
  if (key.readDw(sub, name, value)) return static_cast<long long>(value);
  EXPECT_EQ(value, 0ul) << "a failed read gives 0";
  return -1;
}

// The string, or "<none>" when readWsz fails (after checking that a failure gives "").
std::wstring stringOf(const CSystemRegistry& key, const wchar_t* sub, const wchar_t* name) {
  wchar_t buffer[400] = L"stale";
  if (key.readWsz(sub, name, buffer, 400)) return buffer;
  EXPECT_STREQ(buffer, L"") << "a failed read gives \"\"";
  return L"<none>";
}

std::string section(const std::string& sub = "") {
  return std::string("[") + kKey + (sub.empty() ? "" : "\\" + sub) + "]\n";
}

// ---------------------------------------------------------------------------------------
// Reading files written by hand

const char kHandWritten[] =
    "Windows Registry Editor Version 5.00\r\n"
    "\r\n"
    "; comment lines and blank lines mean nothing\r\n"
    "[hkey_current_user\\software\\TESSUND\\Vantrix]\r\n"
    "\"InterfaceLng\"=dword:000005dd\r\n"
    "@=\"the default value\"\r\n"
    "\"Path\"=\"C:\\\\Data\\\\\\\"quoted\\\"\"\r\n"
    "\"Multi\"=hex(1):41,00,0a,00,42,00,00,00\r\n"
    "\"Nuls\"=hex(1):41,00,00,00,42,00,00,00,00,00\r\n"
    "\"Four\"=hex(4):0a,01,00,00\r\n"
    "\"Blob\"=hex:01,02,03,\\\r\n"
    "  04,05\r\n"
    "\"After\" = dword:00000001\r\n"
    "\"Gone\"=dword:00000001\r\n"
    "\r\n"
    "[HKEY_CURRENT_USER\\SOFTWARE\\Tessund\\Vantrix\\Sub\\\\Deeper\\]\r\n"
    "\"Name\"=\"Gr\xC3\xB6\xC3\x9F"
    "e\"\r\n"
    "\r\n"
    "[HKEY_CURRENT_USER\\SOFTWARE\\Tessund\\Vantrix\\Removed]\r\n"
    "\"Old\"=dword:00000001\r\n"
    "\r\n"
    "[HKEY_CURRENT_USER\\SOFTWARE\\Tessund\\Vantrix]\r\n"
    "\"Gone\"=-\r\n"
    "\"After\"=dword:00000002\r\n"
    "[-HKEY_CURRENT_USER\\SOFTWARE\\Tessund\\Vantrix\\Removed]\r\n";

enum class Encoding { utf8, utf8WithMark, utf16le };

std::string encode(const std::string& utf8, Encoding encoding) {
  if (encoding == Encoding::utf8) return utf8;
  if (encoding == Encoding::utf8WithMark) return "\xEF\xBB\xBF" + utf8;
  std::string out = "\xFF\xFE";
  for (char16_t unit : cuSz::toUtf16(cuSz::fromUtf8(utf8))) {
    out += static_cast<char>(unit & 0xFF);
    out += static_cast<char>(unit >> 8);
  }
  return out;
}

TEST_F(RegistryTest, HandWrittenFileIsReadAndWrittenBackWithWhatItDoesNotUnderstand) {
  for (Encoding encoding : {Encoding::utf8, Encoding::utf8WithMark, Encoding::utf16le}) {
    SCOPED_TRACE(static_cast<int>(encoding));
    registry_.writeCurrentUser(encode(kHandWritten, encoding));
    CSystemRegistry key = userKey();
    EXPECT_EQ(dwordOf(key, L"", L"InterfaceLng"), 1501);
    EXPECT_EQ(stringOf(key, L"", L""), L"the default value");
    EXPECT_EQ(stringOf(key, nullptr, nullptr), L"the default value");
    EXPECT_EQ(dwordOf(key, L"", L"Four"), 0x010a);
    EXPECT_EQ(dwordOf(key, L"", L"Blob"), -1) << "binary is neither DWORD nor string";
    EXPECT_EQ(dwordOf(key, L"", L"Gone"), -1) << "deleted by =-";
    EXPECT_EQ(dwordOf(key, L"Removed", L"Old"), -1) << "deleted by [-key]";
    for (int round = 0; round < 2; ++round) {
      EXPECT_EQ(stringOf(key, L"", L"Path"), L"C:\\Data\\\"quoted\"");
      EXPECT_EQ(stringOf(key, L"", L"Multi"), L"A\nB");
      EXPECT_EQ(stringOf(key, L"", L"Nuls"), L"A") << "read up to its first NUL";
      EXPECT_EQ(dwordOf(key, L"", L"After"), 2) << "the later line wins";
      EXPECT_EQ(stringOf(key, L"sub\\deeper", L"name"), L"Gr\u00f6\u00dfe");
      ASSERT_TRUE(key.writeDw(L"", L"New", 0x1f));  // the second round reads the file written
    }
    std::string text = registry_.currentUserText();
    EXPECT_EQ(text.rfind("Windows Registry Editor Version 5.00\n", 0), 0u) << text;
    EXPECT_NE(text.find("\"Blob\"=hex:01,02,03,04,05\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\"Nuls\"=hex(1):41,00,00,00,42,00,00,00,00,00\n"), std::string::npos)
        << "NULs before the terminator are kept: " << text;
    EXPECT_NE(text.find("\"New\"=dword:0000001f\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("Removed"), std::string::npos) << text;
  }
}

// ---------------------------------------------------------------------------------------
// Damaged files

TEST_F(RegistryTest, DamagedValueReadsAsAbsentAndTheRestSurvives) {
  // A value of the wrong form, a cut type or string, a hex string without its terminator, NULs.
  const std::string damaged[] = {
      "\"X\"=dword:zz",     "\"X\"=dwo",          "\"X\"=\"abc\" extra",
      "\"X\"=hex(1):41,00", "\"X=dword:00000001", "\"X\"=dword:0000" + std::string(2, '\0') + "01"};
  CSystemRegistry key = userKey();
  for (const std::string& line : damaged) {
    SCOPED_TRACE(line);
    registry_.writeCurrentUser("Windows Registry Editor Version 5.00\n\n" + section() + line +
                               "\n" + section() + "\"Good\"=dword:00000007\n");
    EXPECT_EQ(dwordOf(key, L"", L"X"), -1);
    EXPECT_EQ(stringOf(key, L"", L"X"), L"<none>");
    EXPECT_EQ(dwordOf(key, L"", L"Good"), 7);
    ASSERT_TRUE(key.writeDw(L"", L"X", 3)) << "a damaged file can be written again";
    EXPECT_EQ(dwordOf(key, L"", L"X"), 3);
    EXPECT_EQ(dwordOf(key, L"", L"Good"), 7);
  }
}

TEST_F(RegistryTest, RandomBytesReadAsEmptyWithoutACrash) {
  std::mt19937 random(20240601);
  CSystemRegistry key = userKey();
  for (int round = 0; round < 50; ++round) {
    std::string bytes(1 + random() % 8192, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    // Some rounds are mostly registry syntax, so that the parser gets deep into them.
    if (round % 2) {
      const char* pieces[] = {"[", "]", "\"", "=", "dword:", "hex(1):", "\\", "\n", ",", "@"};
      for (char& c : bytes)
        if (random() % 3) c = pieces[random() % 10][0];
    }
    registry_.writeCurrentUser(bytes);
    EXPECT_EQ(dwordOf(key, L"", L"X"), -1);
    EXPECT_EQ(stringOf(key, L"", L"X"), L"<none>");
    ASSERT_TRUE(key.writeDw(L"", L"X", 5));
    EXPECT_EQ(dwordOf(key, L"", L"X"), 5);
  }
}

TEST_F(RegistryTest, FileCutAnywhereGivesWholeValuesOrNone) {
  CSystemRegistry key = userKey();
  const std::wstring quoted = L"text with \"quotes\" and a \\ backslash";
  const std::wstring lines = L"first line\r\nsecond line with a long tail to wrap the hex form";
  ASSERT_TRUE(key.writeDw(L"Sub", L"Number", 0x12345678));
  ASSERT_TRUE(key.writeWsz(L"Sub", L"Quoted", quoted.c_str()));
  ASSERT_TRUE(key.writeWsz(L"Sub", L"Lines", lines.c_str()));
  const std::string whole = registry_.currentUserText();
  ASSERT_NE(whole.find("hex(1):"), std::string::npos) << "line breaks go out as hex";

  for (size_t cut = 0; cut <= whole.size(); ++cut) {
    registry_.writeCurrentUser(whole.substr(0, cut));
    long long number = dwordOf(key, L"Sub", L"Number");
    std::wstring q = stringOf(key, L"Sub", L"Quoted");
    std::wstring l = stringOf(key, L"Sub", L"Lines");
    ASSERT_TRUE(number == -1 || number == 0x12345678) << "cut at " << cut;
    ASSERT_TRUE(q == L"<none>" || q == quoted) << "cut at " << cut;
    ASSERT_TRUE(l == L"<none>" || l == lines) << "cut at " << cut;
  }
  EXPECT_EQ(stringOf(key, L"Sub", L"Lines"), lines);
}

// ---------------------------------------------------------------------------------------
// Values and types

TEST_F(RegistryTest, ReadOfTheOtherTypeIsFalseAndEmptyAndDwordsHave32Bits) {
  CSystemRegistry key = userKey();
  ASSERT_TRUE(key.writeWsz(L"", L"Text", L"7"));
  ASSERT_TRUE(key.writeDw(L"", L"Number", 7));
  EXPECT_EQ(dwordOf(key, L"", L"Text"), -1);
  EXPECT_EQ(stringOf(key, L"", L"Number"), L"<none>");
  char narrow[10] = "stale";
  EXPECT_FALSE(key.readSz(L"", L"Number", narrow, sizeof narrow));
  EXPECT_STREQ(narrow, "");
  EXPECT_EQ(dwordOf(key, L"", L"Missing"), -1);
  EXPECT_EQ(dwordOf(key, L"NoSuchKey", L"Number"), -1);

  ASSERT_TRUE(key.writeDw(L"", L"Text", 9));  // a write replaces the other type
  EXPECT_EQ(dwordOf(key, L"", L"Text"), 9);
  EXPECT_EQ(stringOf(key, L"", L"Text"), L"<none>");
  ASSERT_TRUE(key.writeDw(L"", L"Max", 0xFFFFFFFFul));
  EXPECT_EQ(dwordOf(key, L"", L"Max"), 0xFFFFFFFFll);
  EXPECT_FALSE(key.writeDw(L"", L"Big", 0x100000000ul));
  EXPECT_EQ(dwordOf(key, L"", L"Big"), -1);
}

TEST_F(RegistryTest, StringMustFitTheBufferWithItsTerminator) {
  CSystemRegistry key = userKey();
  ASSERT_TRUE(key.writeWsz(L"", L"Name", L"Gr\u00f6\u00dfe"));  // 7 bytes of UTF-8
  wchar_t wide[8] = L"stale";
  EXPECT_TRUE(key.readWsz(L"", L"Name", wide, 6));
  EXPECT_STREQ(wide, L"Gr\u00f6\u00dfe");
  std::wcscpy(wide, L"stale");
  EXPECT_FALSE(key.readWsz(L"", L"Name", wide, 5));
  EXPECT_STREQ(wide, L"");
  EXPECT_FALSE(key.readWsz(L"", L"Name", wide, 0));

  char narrow[10] = "stale";
  EXPECT_TRUE(key.readSz(L"", L"Name", narrow, 8));
  EXPECT_EQ(CWsz::fromUtf8(narrow).str(), L"Gr\u00f6\u00dfe");
  EXPECT_FALSE(key.readSz(L"", L"Name", narrow, 7));
  EXPECT_STREQ(narrow, "");

  CWsz whole;
  EXPECT_TRUE(key.readWsz(L"", L"Name", whole));
  EXPECT_EQ(whole.str(), L"Gr\u00f6\u00dfe");
}

TEST_F(RegistryTest, KeyPathsAndValueNamesIgnoreCase) {
  CSystemRegistry key = userKey(L"Vantrix KD 18");
  ASSERT_TRUE(key.writeDw(L"CurVer\\UserPreferences", L"SearchCircleSize", 7));
  EXPECT_EQ(dwordOf(userKey(L"VANTRIX kd 18"), L"curver\\USERPREFERENCES", L"searchcirclesize"), 7);
  ASSERT_TRUE(key.writeDw(L"CURVER\\userpreferences", L"SEARCHCIRCLESIZE", 8));
  EXPECT_EQ(dwordOf(key, L"CurVer\\UserPreferences", L"SearchCircleSize"), 8);
  std::string text = registry_.currentUserText();
  EXPECT_EQ(text.find("SEARCHCIRCLESIZE"), std::string::npos) << "one value, its first name";
  EXPECT_EQ(text.find("userpreferences"), std::string::npos) << "one key, its first path";
}

// A key path that the file could not carry back is refused, and nothing is written.
TEST_F(RegistryTest, KeyPathsThatCannotBeWrittenAreRefused) {
  CSystemRegistry key = userKey();
  for (const wchar_t* sub : {L"A]B", L"Closing]", L"Line\nBreak"}) {
    EXPECT_FALSE(key.writeDw(sub, L"X", 1)) << cuSz::toUtf8(sub);
    EXPECT_FALSE(key.writeWsz(sub, L"X", L"text")) << cuSz::toUtf8(sub);
  }
  EXPECT_EQ(registry_.currentUserText(), "");
  EXPECT_TRUE(key.writeDw(L"A[B", L"X", 1)) << "an opening bracket is harmless";
  EXPECT_EQ(dwordOf(key, L"A[B", L"X"), 1);
}

TEST(SystemRegistry, UninitialisedRegistryDoesNothingAndRootsHaveTheirOwnFiles) {
  vxkd_test::TempRegistry registry;
  CSystemRegistry key;
  EXPECT_EQ(dwordOf(key, L"", L"Value"), -1);
  EXPECT_FALSE(key.writeDw(L"", L"Value", 1));
  EXPECT_FALSE(key.writeWsz(L"", L"Value", L"x"));
  EXPECT_FALSE(key.deleteNode(L"Sub"));
  EXPECT_EQ(key.filePath(), "");
  EXPECT_EQ(registry.currentUserText(), "");
  EXPECT_EQ(userKey().filePath(), registry.currentUserFile());
  EXPECT_EQ(machineKey().filePath(), registry.localMachineFile());
}

TEST(SystemRegistry, RootFilesComeFromTheEnvironment) {
  vxkd_test::TempFolder folder;
  vxkd_test::ScopedEnv noHkcu("VXKD_HKCU", "");
  vxkd_test::ScopedEnv noHklm("VXKD_HKLM", "");
  vxkd_test::ScopedEnv config("XDG_CONFIG_HOME", folder.native("config"));
  EXPECT_EQ(CSystemRegistry::currentUserFile(), folder.native("config/tessund/registry.reg"));
  EXPECT_EQ(CSystemRegistry::localMachineFile(), "/etc/tessund/registry.reg");
  vxkd_test::ScopedEnv relative("XDG_CONFIG_HOME", "relative/config");
  vxkd_test::ScopedEnv home("HOME", folder.native());
  EXPECT_EQ(CSystemRegistry::currentUserFile(), folder.native(".config/tessund/registry.reg"));
}

// ---------------------------------------------------------------------------------------
// Deleting keys

TEST_F(RegistryTest, DeleteNodeRemovesTheWholeSubtreeOnly) {
  CSystemRegistry key = userKey();
  for (const wchar_t* sub : {L"A", L"A\\B", L"A\\B\\C", L"A\\BC", L"AB"})
    ASSERT_TRUE(key.writeDw(sub, L"Value", 1));
  EXPECT_TRUE(key.deleteNode(L"a\\b"));
  EXPECT_EQ(dwordOf(key, L"A\\B", L"Value"), -1);
  EXPECT_EQ(dwordOf(key, L"A\\B\\C", L"Value"), -1);
  EXPECT_EQ(dwordOf(key, L"A", L"Value"), 1);
  EXPECT_EQ(dwordOf(key, L"A\\BC", L"Value"), 1) << "a name that merely begins alike stays";
  EXPECT_EQ(dwordOf(key, L"AB", L"Value"), 1);
  EXPECT_FALSE(key.deleteNode(L"A\\B")) << "already gone";

  EXPECT_TRUE(key.deleteNode(L"A"));
  EXPECT_EQ(dwordOf(key, L"A\\BC", L"Value"), -1);
  EXPECT_EQ(dwordOf(key, L"AB", L"Value"), 1);
  EXPECT_NE(registry_.currentUserText().find(std::string("\n[") + kKey + "]\n"), std::string::npos)
      << "the parent stays as a key";
}

TEST_F(RegistryTest, DeleteNodeOfNothingFailsAndWritesNothing) {
  CSystemRegistry key = userKey();
  for (const wchar_t* sub : {L"Missing", L"", static_cast<const wchar_t*>(nullptr), L"\\\\"})
    EXPECT_FALSE(key.deleteNode(sub));
  EXPECT_EQ(registry_.currentUserText(), "");
}

// ---------------------------------------------------------------------------------------
// Faults and concurrency

class RegistryFault : public RegistryTest {
 protected:
  void SetUp() override { registry_.writeCurrentUser(section() + "\"X\"=dword:00000001\n"); }

  vxkd_test::FaultyEnv env_;
};

TEST_F(RegistryFault, FailedReplaceLeavesTheFileAsItWas) {
  const std::string before = registry_.currentUserText();
  env_.failRenames(EXDEV);
  EXPECT_FALSE(userKey().writeDw(L"", L"X", 2));
  EXPECT_EQ(registry_.currentUserText(), before);
  EXPECT_EQ(registry_.folder().names("hkcu"),
            (std::vector<std::string>{"registry.reg", "registry.reg.lock"}))
      << "no temporary file left";
  env_.failRenames(0);
  EXPECT_EQ(dwordOf(userKey(), L"", L"X"), 1);
}

TEST_F(RegistryFault, FailedWriteOrFlushLeavesTheFileAsItWas) {
  const std::string before = registry_.currentUserText();
  for (bool flush : {false, true}) {
    SCOPED_TRACE(flush ? "flush" : "write");
    if (flush)
      env_.failSyncs(EIO);
    else
      env_.failWrites(ENOSPC);
    EXPECT_FALSE(userKey().writeWsz(L"", L"Y", L"text"));
    EXPECT_EQ(registry_.currentUserText(), before);
    EXPECT_EQ(registry_.folder().names("hkcu"),
              (std::vector<std::string>{"registry.reg", "registry.reg.lock"}));
    env_.failSyncs(0);
    env_.failWrites(0);
  }
}

TEST_F(RegistryFault, FolderThatCannotBeMadeFailsTheWrite) {
  vxkd_test::ScopedEnv elsewhere("VXKD_HKCU", registry_.folder().native("new/deeper/registry.reg"));
  env_.failMakeFolders(EACCES);
  EXPECT_FALSE(userKey().writeDw(L"", L"X", 2));
  EXPECT_FALSE(access(registry_.folder().native("new").c_str(), F_OK) == 0);
  env_.failMakeFolders(0);
  EXPECT_TRUE(userKey().writeDw(L"", L"X", 2));
  EXPECT_EQ(dwordOf(userKey(), L"", L"X"), 2);
}

TEST_F(RegistryFault, FileThatCannotBeReadIsNeverReplaced) {
  const std::string before = registry_.currentUserText();
  env_.failReads(registry_.currentUserFile(), EIO);
  EXPECT_EQ(dwordOf(userKey(), L"", L"X"), -1) << "reads as empty";
  EXPECT_FALSE(userKey().writeDw(L"", L"Y", 2));
  EXPECT_EQ(registry_.currentUserText(), before);
}

TEST_F(RegistryTest, TwoProcessesWritingAtOnceKeepEachOthersValues) {
  constexpr int kWrites = 40;
  int start[2];
  ASSERT_EQ(pipe(start), 0);
  pid_t children[2];
  for (int p = 0; p < 2; ++p) {
    children[p] = fork();
    ASSERT_GE(children[p], 0);
    if (children[p] == 0) {
      close(start[1]);
      char go;
      (void)!read(start[0], &go, 1);  // all start together when the parent closes the pipe
      CSystemRegistry key = userKey();
      int failures = 0;
      const wchar_t* own = p == 0 ? L"First" : L"Second";
      for (int i = 0; i < kWrites; ++i) {
        std::wstring name = cuSz::wformat(L"%ls%d", own, i);
        failures += !key.writeDw(L"Shared", name.c_str(), static_cast<unsigned long>(i));
        failures += !key.writeWsz(L"Shared", own, name.c_str());
        failures += !key.writeDw(own, L"Count", static_cast<unsigned long>(i));
      }
      _exit(failures > 0 ? 1 : 0);
    }
  }
  close(start[0]);
  close(start[1]);
  for (pid_t child : children) {
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "a write failed";
  }

  CSystemRegistry key = userKey();
  for (const wchar_t* own : {L"First", L"Second"}) {
    for (int i = 0; i < kWrites; ++i) {
      std::wstring name = cuSz::wformat(L"%ls%d", own, i);
      ASSERT_EQ(dwordOf(key, L"Shared", name.c_str()), i) << "lost " << cuSz::toUtf8(name);
    }
    EXPECT_EQ(stringOf(key, L"Shared", own), cuSz::wformat(L"%ls%d", own, kWrites - 1));
    EXPECT_EQ(dwordOf(key, own, L"Count"), kWrites - 1);
  }
}

}  // namespace
