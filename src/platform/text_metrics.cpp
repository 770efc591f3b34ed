#include "vxkd/platform/text_metrics.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_ADVANCES_H
#include FT_TRUETYPE_TABLES_H

#include <array>
#include <cstdio>
#include <cstdlib>
#include <unordered_map>

#include "vxkd/platform/sz.h"

namespace {

// The fonts a drawing names and the Liberation font that has the same widths. The other
// numbers are those of the Liberation fonts in units of the em; they stand in when the file
// is missing, together with the fixed width per character (the mean advance of the letters
// and digits, so that a fallback text is about as long as the real one).
struct FontFace {
  const wchar_t* names[3];
  const char* file;
  const char* svgFamily;
  double capHeight;
  double descent;
  double fixedAdvance;
};

constexpr FontFace kFaces[] = {
    {{L"Arial", L"Liberation Sans", L"Helvetica"},
     "LiberationSans-Regular.ttf",
     "Arial, 'Liberation Sans', sans-serif",
     1409.0 / 2048,
     434.0 / 2048,
     0.58},
    {{L"Arial Narrow", L"Liberation Sans Narrow", nullptr},
     "LiberationSansNarrow-Regular.ttf",
     "'Arial Narrow', 'Liberation Sans Narrow', sans-serif",
     1409.0 / 2048,
     434.0 / 2048,
     0.48},
    {{L"Times New Roman", L"Liberation Serif", L"Times"},
     "LiberationSerif-Regular.ttf",
     "'Times New Roman', 'Liberation Serif', serif",
     1341.0 / 2048,
     443.0 / 2048,
     0.55},
    {{L"Courier New", L"Liberation Mono", L"Courier"},
     "LiberationMono-Regular.ttf",
     "'Courier New', 'Liberation Mono', monospace",
     1349.0 / 2048,
     615.0 / 2048,
     0.60},
};
constexpr int kFaceCount = static_cast<int>(std::size(kFaces));
constexpr int kDefaultFace = 0;

constexpr const char* kDebianFolders[] = {"/usr/share/fonts/truetype/liberation2",
                                          "/usr/share/fonts/truetype/liberation"};

constexpr size_t kMaxRememberedNames = 64;
constexpr char32_t kMaxCodePoint = 0x10FFFF;
constexpr int kPageBits = 8;
constexpr int kPageSize = 1 << kPageBits;
constexpr int kPageCount = (kMaxCodePoint + 1) >> kPageBits;

// Glyph indices and advances (font units) of 256 consecutive code points, read together.
struct GlyphPage {
  uint16_t glyph[kPageSize];
  int32_t advance[kPageSize];
};

int faceIndexOf(const wchar_t* font) {
  for (int i = 0; i < kFaceCount; ++i)
    for (const wchar_t* name : kFaces[i].names)
      if (name && cuSz::equalNoCase(font, name)) return i;
  return kDefaultFace;
}

}  // namespace

struct CGmTextMetrics::Impl {
  // One face: opened on first use; `missing` once it turned out that it cannot be.
  struct Face {
    bool tried = false;
    bool missing = false;
    FT_Face ft = nullptr;
    bool kerning = false;
    double unitsPerEm = 1;
    double capHeight = 1;  // in ems
    double descent = 0;    // in ems
    std::array<std::unique_ptr<GlyphPage>, kPageCount> pages;
    std::unordered_map<uint32_t, int32_t> kerns;  // (left glyph << 16 | right glyph)
  };

  std::vector<std::string> folders;
  Warning warning;
  FT_Library library = nullptr;
  bool libraryTried = false;
  std::array<Face, kFaceCount> faces;
  // The font names seen so far and their faces, the last one first in line.
  std::vector<std::pair<std::wstring, int>> names;
  int lastName = -1;

  ~Impl() {
    for (Face& f : faces)
      if (f.ft) FT_Done_Face(f.ft);
    if (library) FT_Done_FreeType(library);
  }

  int faceFor(const wchar_t* font) {
    if (!font) font = L"";
    if (lastName >= 0 && names[lastName].first == font) return names[lastName].second;
    for (int i = 0; i < static_cast<int>(names.size()); ++i) {
      if (names[i].first == font) {
        lastName = i;
        return names[i].second;
      }
    }
    // A drawing names a handful of fonts; a caller that invents names without end is
    // answered without being remembered.
    if (names.size() >= kMaxRememberedNames) return faceIndexOf(font);
    names.emplace_back(font, faceIndexOf(font));
    lastName = static_cast<int>(names.size()) - 1;
    return names.back().second;
  }

  Face& open(int index) {
    Face& face = faces[index];
    if (face.tried) return face;
    face.tried = true;
    const FontFace& known = kFaces[index];
    face.capHeight = known.capHeight;
    face.descent = known.descent;
    if (!libraryTried) {
      libraryTried = true;
      if (FT_Init_FreeType(&library) != 0) library = nullptr;
    }
    std::string found;
    for (const std::string& folder : folders) {
      std::string path = folder + "/" + known.file;
      if (library && FT_New_Face(library, path.c_str(), 0, &face.ft) == 0) {
        if (FT_IS_SCALABLE(face.ft) && FT_Select_Charmap(face.ft, FT_ENCODING_UNICODE) == 0 &&
            face.ft->units_per_EM > 0)
          break;
        FT_Done_Face(face.ft);
      }
      face.ft = nullptr;
    }
    if (!face.ft) {
      face.missing = true;
      std::string where;
      for (const std::string& folder : folders) where += (where.empty() ? "" : ", ") + folder;
      warn(cuSz::format(
          "Font file %s (for \"%s\") not found in %s: texts in that font are measured with a "
          "fixed width per character and may not fit their borders.",
          known.file, cuSz::toUtf8(known.names[0]).c_str(),
          where.empty() ? "no folder" : where.c_str()));
      return face;
    }
    face.unitsPerEm = face.ft->units_per_EM;
    face.kerning = FT_HAS_KERNING(face.ft);
    auto* os2 = static_cast<TT_OS2*>(FT_Get_Sfnt_Table(face.ft, FT_SFNT_OS2));
    if (os2 && os2->version >= 2 && os2->sCapHeight > 0)
      face.capHeight = os2->sCapHeight / face.unitsPerEm;
    if (face.ft->descender < 0) face.descent = -face.ft->descender / face.unitsPerEm;
    return face;
  }

  void warn(const std::string& message) {
    if (warning)
      warning(message);
    else
      std::fprintf(stderr, "vxkd: %s\n", message.c_str());
  }

  const GlyphPage& page(Face& face, char32_t c) {
    std::unique_ptr<GlyphPage>& p = face.pages[c >> kPageBits];
    if (!p) {
      p = std::make_unique<GlyphPage>();
      const char32_t first = c & ~static_cast<char32_t>(kPageSize - 1);
      for (int i = 0; i < kPageSize; ++i) {
        FT_UInt glyph = FT_Get_Char_Index(face.ft, first + i);
        FT_Fixed advance = 0;
        if (FT_Get_Advance(face.ft, glyph, FT_LOAD_NO_SCALE, &advance) != 0) advance = 0;
        p->glyph[i] = static_cast<uint16_t>(glyph);
        p->advance[i] = static_cast<int32_t>(advance);
      }
    }
    return *p;
  }

  int32_t kern(Face& face, uint16_t left, uint16_t right) {
    const uint32_t key = static_cast<uint32_t>(left) << 16 | right;
    auto it = face.kerns.find(key);
    if (it != face.kerns.end()) return it->second;
    FT_Vector k{0, 0};
    if (FT_Get_Kerning(face.ft, left, right, FT_KERNING_UNSCALED, &k) != 0) k.x = 0;
    face.kerns.emplace(key, static_cast<int32_t>(k.x));
    return static_cast<int32_t>(k.x);
  }

  // The width of `text` in ems.
  double widthInEms(Face& face, int index, std::wstring_view text) {
    if (face.missing) {
      int drawn = 0;
      for (wchar_t c : text) drawn += isDrawn(c) ? 1 : 0;
      return drawn * kFaces[index].fixedAdvance;
    }
    int64_t units = 0;
    uint16_t previous = 0;
    for (wchar_t c : text) {
      if (!isDrawn(c)) continue;
      const char32_t code = static_cast<char32_t>(c);
      const GlyphPage& p = page(face, code);
      const int slot = code & (kPageSize - 1);
      const uint16_t glyph = p.glyph[slot];
      units += p.advance[slot];
      if (face.kerning && previous && glyph) units += kern(face, previous, glyph);
      previous = glyph;
    }
    return units / face.unitsPerEm;
  }
};

CGmTextMetrics::CGmTextMetrics(std::vector<std::string> fontFolders, Warning warning)
    : impl_(std::make_unique<Impl>()) {
  impl_->folders = std::move(fontFolders);
  impl_->warning = std::move(warning);
}

CGmTextMetrics::~CGmTextMetrics() = default;

CGmTextMetrics& CGmTextMetrics::standard() {
  static CGmTextMetrics metrics;
  return metrics;
}

std::vector<std::string> CGmTextMetrics::defaultFontFolders() {
  std::vector<std::string> folders;
  const char* dirs = std::getenv("VXKD_FONT_DIRS");
  if (dirs && *dirs) {
    std::string_view rest(dirs);
    while (!rest.empty()) {
      size_t colon = rest.find(':');
      std::string_view folder = rest.substr(0, colon);
      if (!folder.empty()) folders.emplace_back(folder);
      rest = colon == std::string_view::npos ? std::string_view() : rest.substr(colon + 1);
    }
    return folders;
  }
  folders.assign(std::begin(kDebianFolders), std::end(kDebianFolders));
  return folders;
}

double CGmTextMetrics::textWidth(std::wstring_view text, const wchar_t* font, double height) {
  if (!(height > 0)) return 0;
  const int index = impl_->faceFor(font);
  Impl::Face& face = impl_->open(index);
  return impl_->widthInEms(face, index, text) * height / face.capHeight;
}

double CGmTextMetrics::fontSize(const wchar_t* font, double height) {
  if (!(height > 0)) return 0;
  return height / impl_->open(impl_->faceFor(font)).capHeight;
}

double CGmTextMetrics::descent(const wchar_t* font, double height) {
  if (!(height > 0)) return 0;
  const Impl::Face& face = impl_->open(impl_->faceFor(font));
  return face.descent * height / face.capHeight;
}

bool CGmTextMetrics::isMeasured(const wchar_t* font) {
  return !impl_->open(impl_->faceFor(font)).missing;
}

const char* CGmTextMetrics::svgFamily(const wchar_t* font) {
  return kFaces[impl_->faceFor(font)].svgFamily;
}

bool CGmTextMetrics::isDrawn(wchar_t c) {
  const auto code = static_cast<char32_t>(c);
  if (code < 0x20 || (code >= 0x7F && code < 0xA0)) return false;
  if (code >= 0xD800 && code <= 0xDFFF) return false;
  return code <= kMaxCodePoint;
}
