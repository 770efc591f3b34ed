#pragma once
// CGmTextMetrics: how wide a text is in a given font and height. The widths come from the
// metric-compatible Liberation fonts, read with FreeType, so that a preview drawn in the
// font the host uses ("Arial") is exactly as wide as the layout assumed. When a font file is
// missing, every character is given one fixed width instead, and that is said once.
//
// A text height is the height of the capital letters, as a drafter gives it; the font size
// (the em) that a renderer needs is larger, see fontSize.
//
// Not safe for use from two threads at once: the library runs on one user-interface thread.

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "vxkd/platform/export.h"

class VXKD_API CGmTextMetrics {
 public:
  // Receives the one message said about a font whose file is missing or unreadable.
  using Warning = std::function<void(const std::string& message)>;

  // Looks for the font files in `fontFolders`, in order. A null `warning` writes the message
  // to standard error. Nothing is opened before the first measurement that needs it.
  explicit CGmTextMetrics(std::vector<std::string> fontFolders = defaultFontFolders(),
                          Warning warning = nullptr);
  ~CGmTextMetrics();
  CGmTextMetrics(const CGmTextMetrics&) = delete;
  CGmTextMetrics& operator=(const CGmTextMetrics&) = delete;

  // The metrics every graphics model uses unless it is given others; made on first use.
  static CGmTextMetrics& standard();
  // The folders named by $VXKD_FONT_DIRS (separated by ":") when it is set and not empty,
  // else the folders where Debian installs the Liberation fonts.
  static std::vector<std::string> defaultFontFolders();

  // The advance width of `text` set in `font` with capitals `height` high, kerning
  // included; 0 for a height of 0 or less. Characters that are not drawn (isDrawn) add
  // nothing. A font name that is not known is measured as "Arial".
  double textWidth(std::wstring_view text, const wchar_t* font, double height);
  // The font size (em) that makes capitals `height` high.
  double fontSize(const wchar_t* font, double height);
  // How far descenders reach below the baseline at that height.
  double descent(const wchar_t* font, double height);
  // Whether `font` is measured from its font file (false: the fixed width per character).
  bool isMeasured(const wchar_t* font);
  // The font-family list an SVG names for `font`: the font itself, then its Liberation
  // equivalent, then the generic family.
  const char* svgFamily(const wchar_t* font);

  // Whether a character is drawn at all: control characters, surrogate halves and values
  // outside Unicode are neither measured nor written.
  static bool isDrawn(wchar_t c);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
