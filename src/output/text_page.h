#pragma once
// A page of text laid out in columns: the reports and tables that are read on
// screen, printed, saved as pictures and printed as plain text in a terminal.
#include <string>
#include <vector>

#include "output/canvas.h"

namespace ovrin {

struct PageCell {
  int column = 0;  // in characters from the left margin
  std::string text;
};

struct PageLine {
  std::vector<PageCell> cells;
  bool heading = false;  // a section title, drawn in colour
};

struct TextPage {
  std::vector<PageLine> lines;
  // Appends a line of cells; a cell that would run into the previous one is
  // pushed one blank past it in the plain text.
  void Add(std::vector<PageCell> cells, bool heading = false) { lines.push_back({std::move(cells), heading}); }
  void Heading(const std::string& text) { lines.push_back({{{0, text}}, true}); }
  void Blank() { lines.push_back({}); }
  int Width() const;  // the widest line, in characters
};

// The page as plain text, one line per line, columns padded with blanks.
std::string PageText(const TextPage& page);

// The page on a canvas: white paper, one text line per unit of height.
void DrawPage(const TextPage& page, Canvas& canvas);

// The size in pixels at which a drawn page reads well: a character column
// and a line each get a fixed number of pixels.
struct PagePixels {
  int width = 0, height = 0;
};
PagePixels PageSize(const TextPage& page);

}  // namespace ovrin
