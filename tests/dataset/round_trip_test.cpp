// Nothing that is accepted is lost on a save: definitions, property sets and formats made
// through the public setters are saved, read into a fresh project and compared field by
// field; the four losses a fuzzer once found are checked end to end; and a generator of
// random cases runs with a fixed seed (VXKD_ROUND_TRIP_CASES sets how many).

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "support/pg_server.h"
#include "support/temp_dataset.h"
#include "support/temp_folder.h"
#include "support/ui_fixture.h"
#include "vxkd/dataset/project.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"
#include "vxkd/properties/format_string.h"
#include "vxkd/properties/property.h"

namespace {

using V = CKdPropertyValue;

// One property set per record "PD" of the dataset, under keys 0000010001, 0000010002, ...
std::string setKey(int index) { return cuSz::format("000001%4.4d", index + 1); }

// Saves `project` as `path` with `sets` in records "PD"; reads it into `back` and `backSets`.
::testing::AssertionResult saveAndRead(CKdProject& project,
                                       const std::vector<CKdPropertyArray>& sets, const CWsz& path,
                                       CKdProject& back, std::vector<CKdPropertyArray>& backSets) {
  if (!project.saveDbAs(nullptr, path)) return ::testing::AssertionFailure() << "save failed";
  CQbase db;
  if (!db.openDatabase(vxkd_test::datasetDictionary(), path, false))
    return ::testing::AssertionFailure() << db.lastError();
  for (size_t i = 0; i < sets.size(); ++i) {
    if (!db.createRec("PD", setKey(static_cast<int>(i)).c_str()) ||
        !sets[i].writeToAttributeOf(db) || !db.saveRec())
      return ::testing::AssertionFailure() << "set " << i << " not written";
  }
  if (!db.closeDatabase()) return ::testing::AssertionFailure() << "commit failed";

  if (!back.readDb(nullptr, path)) return ::testing::AssertionFailure() << "read failed";
  if (!db.openDatabase(vxkd_test::datasetDictionary(), path, false))
    return ::testing::AssertionFailure() << db.lastError();
  backSets.assign(sets.size(), CKdPropertyArray());
  for (size_t i = 0; i < sets.size(); ++i) {
    if (db.fetchRec("PD", setKey(static_cast<int>(i)).c_str()))
      backSets[i].readFromAttributeOf(db, back.propertyDefs());
  }
  db.abandon();
  return ::testing::AssertionSuccess();
}

std::string show(const wchar_t* text) {
  std::string out;
  for (wchar_t c : std::wstring(text)) {
    auto code = static_cast<uint32_t>(c);
    out += code >= 32 && code < 127 ? std::string(1, static_cast<char>(c))
                                    : cuSz::format("\\u{%x}", code);
  }
  return out;
}

// Every field of a definition, one line.
std::string fieldsOf(const CKdPropertyDef& d) {
  return cuSz::format("id %ld type %d unit %d decimals %d name \"", d.dbId(), d.valueType(),
                      d.unit().id(), d.decimals()) +
         show(d.name()) + "\" description \"" + show(d.desc()) + "\"";
}

// The definition fields of a property, whether it has a value, and the value exactly: the
// text as it stands, a number as printed (a real is stored as printed, as intended).
std::string fieldsOf(const CKdProperty& p) {
  std::string out = fieldsOf(static_cast<const CKdPropertyDef&>(p));
  if (!p.hasValue()) return out + " no value";
  CWsz text;
  if (p.valueType() == V::typeText)
    p.value().getText(text);
  else
    p.printValue(text, false);
  return out + " value \"" + show(text) + "\"";
}

// The differences between what was saved and what was read, one line each; "" when none.
std::string differences(const CKdProject& saved, const std::vector<CKdPropertyArray>& sets,
                        const CKdProject& read, const std::vector<CKdPropertyArray>& readSets) {
  std::string out;
  auto compare = [&](const std::string& what, const std::string& a, const std::string& b) {
    if (a != b)
      out += what + ": saved " + a + "\n" + std::string(what.size(), ' ') + "  read  " + b + "\n";
  };
  const CKdPropertyDefArray& a = saved.propertyDefs();
  const CKdPropertyDefArray& b = read.propertyDefs();
  compare("definition count", std::to_string(a.length()), std::to_string(b.length()));
  for (int i = 0; i < a.length() && i < b.length(); ++i)
    compare("definition " + std::to_string(i), fieldsOf(*a.objAt(i)), fieldsOf(*b.objAt(i)));
  for (size_t s = 0; s < sets.size(); ++s) {
    compare("set " + std::to_string(s) + " length", std::to_string(sets[s].length()),
            std::to_string(readSets[s].length()));
    for (int i = 0; i < sets[s].length() && i < readSets[s].length(); ++i)
      compare("set " + std::to_string(s) + " property " + std::to_string(i),
              fieldsOf(*sets[s].objAt(i)), fieldsOf(*readSets[s].objAt(i)));
  }
  return out;
}

// A format naming each definition of `saved` between literals, written and read again against
// the definitions of `read`: the definitions that the format no longer names, one line each.
std::string formatDifferences(const CKdPropertyDefArray& saved, const CKdPropertyDefArray& read) {
  std::string out;
  for (int i = 0; i < saved.length(); ++i) {
    CKdPropertyDefArray entries;
    CWsz format(L"<{");
    format.cat(saved.nameAt(i)).cat(L"}>");
    entries.readFormat(format, saved);
    entries.writeFormat(format);
    CKdPropertyDefArray back;
    back.readFormat(format, read);
    if (back.length() != 3 || back.objAt(1)->dbId() != saved.idAt(i))
      out += "format of definition " + std::to_string(i) + " names " +
             std::to_string(back.length() - 2) + " definitions: " + show(format) + "\n";
  }
  return out;
}

class RoundTripTest : public vxkd_test::RecordingUiTest {
 protected:
  CWsz path() const { return dir_.path(L"round.vkd"); }

  vxkd_test::TempFolder dir_;
};

// The same saves and reads into a file ("file") or into a dataset on a server ("server"),
// a new one each time.
class RoundTripBackendTest : public RoundTripTest,
                             public ::testing::WithParamInterface<std::string> {
 protected:
  void SetUp() override {
    RoundTripTest::SetUp();
    if (GetParam() == "server") {
      server_ = vxkd_test::PgServer::shared();
      if (!server_) GTEST_SKIP() << "no PostgreSQL server: " << vxkd_test::PgServer::skipReason();
    }
  }
  CWsz freshPath() const {
    return server_ ? CWsz::fromUtf8(server_->uri(server_->freshName()).c_str()) : path();
  }

  vxkd_test::PgServer* server_ = nullptr;
};

INSTANTIATE_TEST_SUITE_P(Backends, RoundTripBackendTest, ::testing::Values("file", "server"),
                         [](const auto& info) { return info.param; });

// ---- The four losses, end to end ----

TEST_F(RoundTripTest, RealThatWouldPrintTooLongIsRefusedWhenSetAndTheRestSurvives) {
  CKdProject project;
  ASSERT_TRUE(project.propertyDefs().add(L"Flow", L"", V::typeDoubleReal, {}, 2));
  ASSERT_TRUE(project.propertyDefs().add(L"Mass", L"", V::typeSingleReal, {}, 0));
  ASSERT_TRUE(project.propertyDefs().add(L"Tiny", L"", V::typeDoubleReal, {}, 29));
  CKdPropertyArray set;
  const struct {
    int def;
    const wchar_t* text;
    bool accepted;
  } values[] = {{0, L"1e27", false}, {0, L"-2.5e26", false}, {0, L"-2.5e25", true},
                {1, L"1e30", false}, {1, L"-2.5e26", true},  {2, L"0,5", true},
                {2, L"-0.5", true}};
  for (const auto& v : values) {
    CKdProperty p(*project.propertyDefs().objAt(v.def));
    EXPECT_EQ(p.setValue(v.text), v.accepted) << show(v.text);
    EXPECT_EQ(p.hasValue(), v.accepted) << show(v.text);
    set.append(&p);
  }
  EXPECT_EQ(project.propertyDefs().objAt(2)->decimals(), V::maxDecimals);

  CKdProject back;
  std::vector<CKdPropertyArray> backSets;
  ASSERT_TRUE(saveAndRead(project, {set}, path(), back, backSets));
  EXPECT_EQ(differences(project, {set}, back, backSets), "");
}

TEST_F(RoundTripTest, LineBreakInATextNeverStartsAnotherProperty) {
  CKdProject project;
  ASSERT_TRUE(project.propertyDefs().add(L"Note", L"", V::typeText, {}, 0));
  ASSERT_TRUE(project.propertyDefs().add(L"A", L"", V::typeText, {}, 0));
  ASSERT_TRUE(project.propertyDefs().add(L"Count", L"", V::typeInt32, {}, 0));
  CKdPropertyArray set;
  for (int i = 0; i < 3; ++i) {
    CKdProperty p(*project.propertyDefs().objAt(i));
    set.append(&p);
  }
  EXPECT_TRUE(set.objAt(0)->setValue(L"first line\r\n3=999"));
  V text;
  text.setText(L"x\ny  ");
  EXPECT_TRUE(set.objAt(1)->setValue(text));
  EXPECT_TRUE(set.objAt(2)->setValue(L"7"));

  CKdProject back;
  std::vector<CKdPropertyArray> backSets;
  ASSERT_TRUE(saveAndRead(project, {set}, path(), back, backSets));
  EXPECT_EQ(differences(project, {set}, back, backSets), "");
  EXPECT_EQ(backSets[0].objAt(0)->getValueAsText(false), L"first line 3=999");
  EXPECT_EQ(backSets[0].objAt(1)->getValueAsText(false), L"x y");
  EXPECT_EQ(backSets[0].objAt(2)->getValueAsText(false), L"7");
}

// A name holding a brace could not be named by a format: the editor refuses it, and every name
// it accepts works in a format after a save and a read.
TEST_F(RoundTripTest, NamesThatFormatsCannotHoldAreRefusedTheOthersWorkInFormats) {
  CKdProject project;
  CKdPropertyDefArray& defs = project.propertyDefs();
  for (const wchar_t* name : {L"W}H", L"{W", L"W{H}"}) {
    ui_.clear();
    EXPECT_FALSE(CKdPropertyDefArray::validateName(nullptr, defs, name, nullptr));
    EXPECT_EQ(ui_.boxCount(), 1);
  }
  for (const wchar_t* name : {L"W H", L"W(H)", L"# [x] \"q\" 'a' \\ / . ? ! ~", L"Größe \x1F600"}) {
    EXPECT_TRUE(CKdPropertyDefArray::validateName(nullptr, defs, name, nullptr)) << show(name);
    ASSERT_TRUE(defs.add(name, L"", V::typeInt32, {}, 0));
  }
  CKdPropertyArray set;
  for (int i = 0; i < defs.length(); ++i) {
    CKdProperty p(*defs.objAt(i));
    p.setValue(std::to_wstring(i + 10).c_str());
    set.append(&p);
  }
  CWsz format;
  CKdPropertyDefArray entries;
  entries.readFormat(L"<{W H}|{W(H)}|{# [x] \"q\" 'a' \\ / . ? ! ~}|{Größe \x1F600}>", defs);
  entries.writeFormat(format);

  CKdProject back;
  std::vector<CKdPropertyArray> backSets;
  ASSERT_TRUE(saveAndRead(project, {set}, path(), back, backSets));
  EXPECT_EQ(differences(project, {set}, back, backSets), "");
  CKdPropertyDefArray backEntries;
  backEntries.readFormat(format, back.propertyDefs());
  EXPECT_EQ(backEntries.length(), 9);
  CWsz text;
  EXPECT_TRUE(VxKd::buildFmtString(format, backSets[0], text));
  EXPECT_EQ(text, L"<10|11|12|13>");
}

// A hand-edited file: keys that are not in the writer's form. Read and saved, nothing is lost
// and nothing doubled; what cannot be stored under its own key stays where it is.
TEST_F(RoundTripTest, OddKeysAreMovedToTheirOwnKeysOrLeftAsTheyAre) {
  CKdProject project;
  for (int i = 1; i <= 7; ++i)
    project.propertyDefs().add((L"P" + std::to_wstring(i)).c_str(), L"", V::typeInt32, {}, 0);
  ASSERT_TRUE(project.saveDbAs(nullptr, path()));
  const struct {
    const char* key;
    const char* name;
  } odd[] = {{" 8", "Eight"}, {"", "Empty"}, {"9999999(9999", "Wide"}};
  for (const auto& o : odd)
    ASSERT_TRUE(vxkd_test::runSql(path(),
                                  "INSERT INTO RD_property_definitions (record_key, f1501_name, "
                                  "f1002_value_type) VALUES (?1, '" +
                                      std::string(o.name) + "', 3)",
                                  o.key));
  auto keysInFile = [&] {
    std::string keys;
    CQbase db;
    EXPECT_TRUE(db.openDatabase(vxkd_test::datasetDictionary(), path(), false));
    for (bool more = db.fetchFirstMember("RD"); more; more = db.fetchNextMember()) {
      CChBuffer key;
      db.getObjId(key);
      keys += "[" + key.str() + "]";
    }
    db.abandon();
    return keys;
  };
  ASSERT_EQ(keysInFile(),
            "[][ 8][000001][000002][000003][000004][000005][000006][000007][9999999(9999]");

  CKdProject read;
  ASSERT_TRUE(read.readDb(nullptr, path()));
  ASSERT_EQ(read.propertyDefs().length(), 10);
  ASSERT_TRUE(read.updateDb(nullptr));
  EXPECT_EQ(keysInFile(),
            "[][000001][000002][000003][000004][000005][000006][000007][000008][9999999(9999]");
  CKdProject again;
  ASSERT_TRUE(again.readDb(nullptr, path()));
  ASSERT_TRUE(again.updateDb(nullptr));
  std::wstring names;
  for (int i = 0; i < again.propertyDefs().length(); ++i)
    names += std::wstring(i ? L" " : L"") + again.propertyDefs().nameAt(i);
  EXPECT_EQ(names, L"Empty P1 P2 P3 P4 P5 P6 P7 Eight Wide");
  EXPECT_EQ(again.propertyDefs().objAt(8)->dbId(), 8);
  EXPECT_EQ(again.propertyDefs().objAt(9)->dbId(), 9999999);
}

// ---- The generator ----

// Random definitions, property sets and values, made through the public setters only.
class CaseGenerator {
 public:
  explicit CaseGenerator(uint32_t seed) : random_(seed) {}

  int below(int n) { return static_cast<int>(random_() % static_cast<uint32_t>(n)); }
  bool chance(int percent) { return below(100) < percent; }

  // A character from every range a user could type, and some that no user types: control
  // characters, surrogates, codes beyond Unicode, the characters that names may not hold.
  wchar_t character() {
    switch (below(12)) {
      case 0:
        return static_cast<wchar_t>(below(32));  // control characters, NUL ends the text
      case 1:
        return L"\r\n\t \r\n"[below(6)];
      case 2:
        return L"*;:,|&=<>{}\"'\\#%"[below(17)];
      case 3:
        return static_cast<wchar_t>(0x80 + below(0x780));
      case 4:
        return static_cast<wchar_t>(0x800 + below(0xF800));  // surrogates among them
      case 5:
        return static_cast<wchar_t>(0x10000 + below(0x100000 + 0x100));  // beyond U+10FFFF too
      default:
        return static_cast<wchar_t>(0x20 + below(0x5F));
    }
  }
  std::wstring text(int maxLength) {
    std::wstring out;
    for (int n = below(maxLength + 1); n > 0; --n) out += character();
    return out;
  }
  // What a user might type into a numeric field, or a program might pass.
  std::wstring numberText() {
    std::wstring out(below(3), L' ');
    if (chance(40)) out += chance(50) ? L'-' : L'+';
    auto digits = [&](int maxCount) {
      std::wstring d;
      for (int n = 1 + below(maxCount); n > 0; --n) d += static_cast<wchar_t>(L'0' + below(10));
      return d;
    };
    switch (below(6)) {
      case 0:
        return out + digits(33);
      case 1:
        return out + digits(12) + (chance(50) ? L"." : L",") + digits(20);
      case 2:
        return out + digits(3) + L"." + digits(3) + (chance(50) ? L"e" : L"E") +
               (chance(50) ? L"-" : L"") + std::to_wstring(below(45));
      case 3:
        return out + L"1e" + std::to_wstring(15 + below(20));
      case 4: {
        const wchar_t* odd[] = {L"inf", L"nan", L"x12", L"+-1", L"5 mm", L"", L"0x1F", L"1e999"};
        return out + odd[below(8)];
      }
      default:
        return out + text(8);
    }
  }

  // A value of `type` as a program would set it directly.
  V value(V::valueTypeId type) {
    V v;
    switch (type) {
      case V::typeText:
        v.setText(text(40).c_str());
        break;
      case V::typeInt16:
        v.setInt16(static_cast<int16_t>(random_()));
        break;
      case V::typeInt32:
        v.setInt32(static_cast<int32_t>(random_()));
        break;
      case V::typeSingleReal:
        v.setSingleReal(static_cast<float>(magnitude()));
        break;
      case V::typeDoubleReal:
        v.setDoubleReal(magnitude());
        break;
      default:
        v.setTypeId(type);
        break;
    }
    if (chance(5)) v.resetValue();
    return v;
  }

  // A definition the editor accepts, added to `defs`; false when none was found.
  bool addDefinition(CKdPropertyDefArray& defs) {
    for (int attempt = 0; attempt < 20; ++attempt) {
      std::wstring name = text(12);
      if (!CKdPropertyDefArray::validateName(nullptr, defs, name.c_str(), nullptr)) continue;
      auto type = static_cast<V::valueTypeId>(chance(3) ? 0 : 1 + below(5));
      CKdUnit unit(static_cast<CKdUnit::unitId>(chance(70) ? below(130) : below(65536) - 32768));
      if (!defs.add(name.c_str(), text(30).c_str(), type, unit, below(40))) return false;
      return true;
    }
    return false;
  }

  // A property of `def` with a value set through setValue, from a text or from a value.
  CKdProperty property(const CKdPropertyDef& def) {
    CKdProperty p(def);
    switch (below(3)) {
      case 0:
        p.setValue(def.valueType() == V::typeText ? text(40).c_str() : numberText().c_str());
        break;
      case 1:
        p.setValue(value(def.valueType()));
        break;
      default:
        p.setValue(text(6).c_str());
        break;
    }
    return p;
  }

 private:
  // Reals of every magnitude, zero and negative ones included.
  double magnitude() {
    if (chance(5)) return 0.0;
    double mantissa = std::uniform_real_distribution<double>(-10.0, 10.0)(random_);
    return mantissa * std::pow(10.0, below(80) - 40);
  }

  std::mt19937 random_;
};

int generatorCases() {
  const char* count = std::getenv("VXKD_ROUND_TRIP_CASES");
  return count && std::atoi(count) > 0 ? std::atoi(count) : 3000;
}

// Each case is one random definition and a property of it with a random value, in a set of up
// to six properties; 250 cases share one dataset file.
TEST_P(RoundTripBackendTest, GeneratedDefinitionsSetsAndValuesSurviveSaveAndRead) {
  constexpr uint32_t kSeed = 20261123;
  constexpr int kCasesPerFile = 250;
  const int cases = generatorCases();
  CaseGenerator random(kSeed);
  int losses = 0;
  for (int first = 0; first < cases && losses < 5; first += kCasesPerFile) {
    CKdProject project;
    std::vector<CKdPropertyArray> sets;
    for (int c = first; c < cases && c < first + kCasesPerFile; ++c) {
      if (!random.addDefinition(project.propertyDefs())) continue;
      const CKdPropertyDefArray& defs = project.propertyDefs();
      if (sets.empty() || random.chance(20)) sets.emplace_back();
      CKdProperty p = random.property(*defs.objAt(defs.length() - 1));
      sets.back().append(&p);
    }
    CKdProject back;
    std::vector<CKdPropertyArray> backSets;
    ASSERT_TRUE(saveAndRead(project, sets, freshPath(), back, backSets));
    std::string lost = differences(project, sets, back, backSets) +
                       formatDifferences(project.propertyDefs(), back.propertyDefs());
    ui_.clear();  // the refused names
    if (!lost.empty()) {
      ++losses;
      ADD_FAILURE() << "cases " << first << " to " << first + kCasesPerFile - 1 << " (seed "
                    << kSeed << ") lose on a save and a read:\n"
                    << lost;
    }
  }
  RecordProperty("cases", cases);
  std::printf("[ cases    ] %d generated cases, %d files with losses\n", cases, losses);
}

}  // namespace
