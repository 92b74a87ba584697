#include "output/text_page.h"

#include <algorithm>

namespace ovrin {

namespace {

std::string LineText(const PageLine& l) {
  std::string s;
  for (const PageCell& c : l.cells) {
    if (static_cast<int>(s.size()) < c.column)
      s.append(static_cast<std::size_t>(c.column) - s.size(), ' ');
    else if (!s.empty())
      s += ' ';
    s += c.text;
  }
  while (!s.empty() && s.back() == ' ') s.pop_back();
  return s;
}

}  // namespace

int TextPage::Width() const {
  int w = 0;
  for (const PageLine& l : lines) w = std::max(w, static_cast<int>(LineText(l).size()));
  return w;
}

std::string PageText(const TextPage& page) {
  std::string out;
  for (const PageLine& l : page.lines) out += LineText(l) + "\n";
  return out;
}

namespace {
constexpr int kColumnPx = 8, kLinePx = 18;
int PageColumns(const TextPage& page) { return std::max(80, page.Width() + 2); }
int PageLines(const TextPage& page) { return std::max(10, static_cast<int>(page.lines.size()) + 2); }
}  // namespace

PagePixels PageSize(const TextPage& page) {
  return {(PageColumns(page) + 2) * kColumnPx, (PageLines(page) + 1) * kLinePx};
}

void DrawPage(const TextPage& page, Canvas& canvas) {
  const int width = PageColumns(page);
  const int height = PageLines(page);
  canvas.Window(-2, -1, width, height);
  canvas.Clear({255, 255, 255});
  int y = 0;
  for (const PageLine& l : page.lines) {
    const Rgb ink = l.heading ? Rgb{0, 0, 160} : Rgb{0, 0, 0};
    for (const PageCell& c : l.cells) canvas.Text(c.column, y, c.text, ink);
    ++y;
  }
}

}  // namespace ovrin
