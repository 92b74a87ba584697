#include "core/design_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <vector>

#include "core/number_text.h"

namespace ovrin {

namespace {
// A message quotes what it found in the file: control bytes (a NUL above all,
// which would end the message early wherever it is read as C text) are shown
// as \xNN.
std::string Printable(const std::string& text) {
  static const char* hex = "0123456789ABCDEF";
  std::string out;
  out.reserve(text.size());
  for (unsigned char c : text) {
    if (c < 0x20 || c == 0x7F) {
      out += "\\x";
      out += hex[c >> 4];
      out += hex[c & 15];
    } else {
      out += static_cast<char>(c);
    }
  }
  return out;
}
}  // namespace

DesignFileError::DesignFileError(std::string file, int line, std::string expected)
    : std::runtime_error(line > 0 ? "Cannot read \"" + Printable(file) + "\", line " + std::to_string(line) +
                                        ": expected " + Printable(expected) + "."
                                  : "\"" + Printable(file) + "\": " + Printable(expected) + "."),
      file_(std::move(file)),
      line_(line),
      expected_(std::move(expected)) {}

namespace {

struct Field {
  std::string text;
  bool quoted = false;
};

// Splits one record into its fields: commas separate, double quotes enclose strings.
std::vector<Field> SplitRecord(std::string_view line) {
  std::vector<Field> out;
  std::size_t i = 0;
  const std::size_t n = line.size();
  for (;;) {
    Field f;
    while (i < n && (line[i] == ' ' || line[i] == '\t')) ++i;
    if (i < n && line[i] == '"') {
      f.quoted = true;
      ++i;
      while (i < n && line[i] != '"') f.text.push_back(line[i++]);
      if (i < n) ++i;  // closing quote
      while (i < n && line[i] != ',') ++i;
    } else {
      while (i < n && line[i] != ',') f.text.push_back(line[i++]);
      while (!f.text.empty() && (f.text.back() == ' ' || f.text.back() == '\t')) f.text.pop_back();
    }
    out.push_back(std::move(f));
    if (i >= n) break;
    ++i;  // the comma
  }
  return out;
}

// A field's text as a message can show it: control bytes (a NUL would end the
// message early) are written as \xNN.
std::string Visible(const std::string& text) {
  std::string out;
  for (unsigned char c : text) {
    if (c < 0x20 || c == 0x7F) {
      static const char* const hex = "0123456789ABCDEF";
      out += "\\x";
      out += hex[c >> 4];
      out += hex[c & 15];
    } else {
      out += static_cast<char>(c);
    }
  }
  return out;
}

class RecordReader {
 public:
  RecordReader(std::string path, std::string content) : path_(std::move(path)) {
    std::size_t start = 0;
    while (start < content.size()) {
      std::size_t end = content.find('\n', start);
      if (end == std::string::npos) end = content.size();
      std::string line = content.substr(start, end - start);
      if (!line.empty() && line.back() == '\r') line.pop_back();
      lines_.push_back(std::move(line));
      start = end + 1;
    }
  }

  // The next record, which must have `count` fields described by `what`.
  std::vector<Field> Next(std::size_t count, const std::string& what) {
    line_no_ = static_cast<int>(pos_) + 1;
    if (pos_ >= lines_.size()) Fail(what + ", but the file ends here");
    std::vector<Field> f = SplitRecord(lines_[pos_++]);
    if (f.size() != count)
      Fail(std::to_string(count) + " fields (" + what + "), found " + std::to_string(f.size()));
    return f;
  }

  // Number of fields on the record `ahead` lines after the current one, or 0 past the end.
  std::size_t PeekFieldCount(std::size_t ahead) const {
    if (pos_ + ahead >= lines_.size()) return 0;
    return SplitRecord(lines_[pos_ + ahead]).size();
  }

  [[noreturn]] void Fail(const std::string& expected) const {
    throw DesignFileError(path_, line_no_ > 0 ? line_no_ : static_cast<int>(pos_) + 1, expected);
  }

  void SetLine(int n) { line_no_ = n; }

  double F64(const Field& f, const std::string& what) const {
    if (f.quoted) Fail(what + " as a number, not text");
    return ParseStrict(f.text, what);
  }

  float F32(const Field& f, const std::string& what) const {
    return static_cast<float>(F64Float(f, what));
  }

  // A value written in its own form: a number, or quoted text read by its leading number.
  double VNumber(const Field& f, const std::string& what) const {
    if (f.quoted) {
      const double v = ParseLeadingNumber(f.text);
      if (!std::isfinite(v)) Fail(what + " within range");
      return v;
    }
    return ParseStrict(f.text, what);
  }

  int64_t Integer(const Field& f, const std::string& what, int64_t lo, int64_t hi) const {
    const double v = F64(f, what);
    const double r = std::nearbyint(v);  // halves to even, as an integer field takes them
    if (r < static_cast<double>(lo) || r > static_cast<double>(hi))
      Fail(what + " from " + std::to_string(lo) + " to " + std::to_string(hi));
    return static_cast<int64_t>(r);
  }

 private:
  double ParseStrict(const std::string& text, const std::string& what) const {
    if (text.empty()) return 0.0;
    const char* b = text.data();
    const char* e = b + text.size();
    if (*b == '+') ++b;
    double v = 0;
    auto res = std::from_chars(b, e, v);
    if (res.ec != std::errc() || res.ptr != e || !std::isfinite(v))
      Fail(what + " as a number, found \"" + Visible(text) + "\"");
    return v;
  }

  float F64Float(const Field& f, const std::string& what) const {
    if (f.quoted) Fail(what + " as a number, not text");
    if (f.text.empty()) return 0.0f;
    const char* b = f.text.data();
    const char* e = b + f.text.size();
    if (*b == '+') ++b;
    float v = 0;
    auto res = std::from_chars(b, e, v);
    if (res.ec != std::errc() || res.ptr != e || !std::isfinite(v))
      Fail(what + " as a number, found \"" + Visible(f.text) + "\"");
    return v;
  }

  std::string path_;
  std::vector<std::string> lines_;
  std::size_t pos_ = 0;
  int line_no_ = 0;
};

std::string NameField(const Field& f) { return f.text; }

std::string FileTitle(const std::string& path) {
  return std::filesystem::path(path).filename().string();
}

struct FormatTraits {
  bool two_angles;   // line 2 carries the X angle too
  bool short_media;  // media line of 3 fields (forced for the imports)
  bool tilt_lines;   // line f present for every surface
  bool image_tilt;   // the image plane's tilt record in the tail
  bool full_tail;    // the rest of the tail
};

FormatTraits TraitsOf(DesignFormat f) {
  switch (f) {
    case DesignFormat::V35: return {false, true, false, false, false};
    case DesignFormat::V40: return {false, true, true, false, false};
    case DesignFormat::V51: return {true, true, true, true, false};
    case DesignFormat::Current: break;
  }
  return {true, false, true, true, true};
}

void ReadTiltRecord(RecordReader& r, DesignState& d, int i) {
  auto f = r.Next(5, "decenter Y, decenter X, tilt A, tilt B, tilt order");
  d.DecY[i] = r.F32(f[0], "the Y decenter");
  d.DecX[i] = r.F32(f[1], "the X decenter");
  d.TiltAInput[i] = r.F64(f[2], "the tilt about X");
  d.TiltBInput[i] = r.F64(f[3], "the tilt about Y");
  d.TiltOrder[i] = r.F32(f[4], "the tilt order");
}

void ClearTiltRecord(DesignState& d, int i) {
  d.DecY[i] = d.DecX[i] = 0;
  d.TiltAInput[i] = d.TiltBInput[i] = 0;
  d.TiltA[i] = d.TiltB[i] = 0;
  d.TiltOrder[i] = 1;
}

// Column 5 and 6 of a grid row after the medium of the surface has been read.
void FillMediumCells(DesignState& d, DesignSheet& sheet, MediaResolver& media, int i) {
  const int code = d.MediumCode[i];
  if (code < 0 || code > 9) return;  // unknown codes leave the medium as it was
  sheet.Cell(i, 5) = MediumEntryText(code);
  if (code == kMediumAirPosit) {
    sheet.Cell(i, 6) = "1";
  } else if (code == kMediumAirNegat) {
    sheet.Cell(i, 6) = "-1";
  } else if (code == kMediumDirect) {
    sheet.Cell(i, 6) = ShortestText(d.IndexWl[1][i]);
  } else {
    media.ResolveCatalogueMedium(d, i);
    const NameTable* names = d.GlassNames(code);
    sheet.Cell(i, 6) = (d.IndexWl[1][i] < 0 ? "- " : "+ ") + (*names)[i];
  }
}

}  // namespace

UpdateResult ReadDesignFile(const std::string& path, DesignFormat format, DesignState& d,
                            DesignSheet& sheet, MediaResolver& media) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw DesignFileError(path, 0, "the file cannot be opened");
  std::stringstream ss;
  ss << in.rdbuf();
  if (in.bad()) throw DesignFileError(path, 0, "the file cannot be read");
  RecordReader r(path, ss.str());
  const FormatTraits tr = TraitsOf(format);

  // Probe: the media line of surface 0 tells the short form from the full one.
  bool short_media = tr.short_media;
  if (format == DesignFormat::Current) {
    const std::size_t count = r.PeekFieldCount(4);
    if (count == 3) {
      short_media = true;
    } else if (count == 8) {
      short_media = false;
    } else {
      r.SetLine(5);
      r.Fail("a media line of 3 or 8 fields, found " + std::to_string(count));
    }
  }

  sheet.Txtcaratteristiche.clear();
  {
    auto f = r.Next(1, "the design notes");
    sheet.Txtcaratteristiche = NameField(f[0]);
    d.DesignNote = sheet.Txtcaratteristiche;
  }
  std::string angle_y = "0", angle_x = "0";
  {
    auto f = r.Next(tr.two_angles ? 4 : 3,
                    tr.two_angles ? "surface count, wavelength count, Y angle, X angle"
                                  : "surface count, wavelength count, field angle");
    const int64_t n = r.Integer(f[0], "a surface count", 1, kMaxSurfaces);
    const int64_t w = r.Integer(f[1], "a wavelength count", 0, kMaxWavelengths);
    d.SurfCount = static_cast<int16_t>(n);
    // A count of 0 is taken as 1 here, before the glasses are resolved, as the
    // update would take it afterwards: otherwise the first read keeps the
    // stored indices and every later one recomputes them, and the design
    // changes on its first resave.
    d.WlCount = static_cast<int16_t>(w == 0 ? 1 : w);
    angle_y = ShortestText(r.VNumber(f[2], "the Y field angle"));
    if (tr.two_angles) angle_x = ShortestText(r.VNumber(f[3], "the X field angle"));
    sheet.txtnumsup = std::to_string(n);
    sheet.SetSurfaceRows(static_cast<int>(n));
  }
  {
    auto f = r.Next(6, "six wavelengths");
    for (int k = 0; k < 6; ++k) d.Wavelength[k] = r.F32(f[k], "a wavelength");
  }

  for (int i = 0; i <= d.SurfCount; ++i) {
    const std::string s = "surface " + std::to_string(i);
    {
      auto f = r.Next(3, "half-diameter, radius, thickness of " + s);
      d.SemiDiam[i] = r.VNumber(f[0], "the half-diameter of " + s);
      d.Radius[i] = r.F64(f[1], "the radius of " + s);
      d.Thickness[i] = r.F64(f[2], "the thickness of " + s);
    }
    {
      auto f = r.Next(short_media ? 3 : 8, "medium code and glass names of " + s);
      d.MediumCode[i] = static_cast<int16_t>(r.Integer(f[0], "a medium code", -32768, 32767));
      // Older files name the SCHOTT and OHARA glasses only.
      const std::size_t names = short_media ? 2 : kGlassNameColumns.size();
      for (std::size_t g = 0; g < names; ++g) (d.*(kGlassNameColumns[g].names))[i] = NameField(f[g + 1]);
    }
    {
      auto f = r.Next(6, "six indices of " + s);
      for (int k = 0; k < 6; ++k)
        d.IndexWl[k + 1][i] = k == 4 ? r.VNumber(f[k], "an index") : r.F64(f[k], "an index");
    }
    {
      auto f = r.Next(2, "surface type and conic constant of " + s);
      d.SurfType[i] = r.F32(f[0], "a surface type");
      // The types are 1 to 4 (0 on a cleared row); anything else is damage.
      const float type = d.SurfType[i];
      if (!(type >= 0.0f && type <= 4.0f && type == std::nearbyint(type)))
        r.Fail("a surface type from 0 to 4, found \"" + Visible(f[0].text) + "\"");
      d.Conic[i] = r.F64(f[1], "a conic constant");
    }
    {
      auto f = r.Next(4, "0 and the coefficients A4, A6, A8 of " + s);
      r.Integer(f[0], "the reserved 0", -32768, 32767);
      d.AsphA2[i] = 0;
      d.AsphA4[i] = r.F64(f[1], "the A4 coefficient");
      d.AsphA6[i] = r.F64(f[2], "the A6 coefficient");
      d.AsphA8[i] = r.F64(f[3], "the A8 coefficient");
    }
    if (tr.tilt_lines) {
      ReadTiltRecord(r, d, i);
    } else {
      ClearTiltRecord(d, i);
    }
    if (i >= 1) {
      sheet.Cell(i, 2) = ShortestText(d.SemiDiam[i]);
      sheet.Cell(i, 3) = ShortestText(d.Radius[i]);
      sheet.Cell(i, 4) = ShortestText(d.Thickness[i]);
      sheet.Cell(i, 7) = SurfTypeText(d.SurfType[i]);
      FillMediumCells(d, sheet, media, i);
    }
  }

  const int image = d.SurfCount + 1;
  if (tr.image_tilt) {
    ReadTiltRecord(r, d, image);
  } else {
    ClearTiltRecord(d, image);
  }
  if (tr.full_tail) {
    {
      auto f = r.Next(2, "object distance, object height");
      d.ObjDistance = r.F64(f[0], "the object distance");
      d.HalfFieldY = r.F64(f[1], "the object height");
    }
    {
      auto f = r.Next(2, "stop surface, entrance beam half-diameter");
      d.StopSurf = static_cast<int32_t>(r.Integer(f[0], "a stop surface", 0, d.SurfCount));
      d.EntrBeamSemiDiam = r.F64(f[1], "the entrance beam half-diameter");
    }
    {
      auto f = r.Next(2, "temperature, pressure");
      d.EnvTempCurrent = r.F32(f[0], "the temperature");
      d.EnvPressCurrent = r.F32(f[1], "the pressure");
    }
    r.Next(2, "the reserved 0, 0");
    r.Next(2, "the reserved 0, 0");
  } else {
    // The earlier releases kept no object, stop or beam: infinity, stop on
    // surface 1, beam from the first half-diameter.
    d.ObjDistance = 0;
    d.HalfFieldY = 0;
    d.StopSurf = 0;
    d.EntrBeamSemiDiam = 0;
  }

  if (d.ObjDistance == 0) {
    sheet.Txtangolo = angle_y;
    sheet.TxtangoloX = angle_x;
    sheet.SetCheck2(ParseLeadingNumber(angle_x) != 0);
    sheet.TxtangoloX = angle_x;
    sheet.SelectOption1(d);
  } else {
    sheet.Text2 = ShortestText(d.ObjDistance);
    sheet.Text3 = ShortestText(d.HalfFieldY);
    sheet.SelectOption2();
  }
  sheet.Text1 = ShortestText(d.SemiDiam[1]);
  if (d.EntrBeamSemiDiam > 1) sheet.Text1 = ShortestText(d.EntrBeamSemiDiam);
  MarkStopRow(sheet, d.StopSurf == 0 ? 1 : d.StopSurf);

  d.DesignFileName = path;
  d.DesignFileTitle = FileTitle(path);
  sheet.cmdupdateVisible = true;
  sheet.cmdupdateEnabled = true;
  return cmdupdate(d, sheet, media);
}

namespace {

std::string Quoted(std::string s) {
  for (char& c : s) {
    if (c == '"') c = '\'';  // a quote would end the string early
    if (c == '\r' || c == '\n') c = ' ';
  }
  return "\"" + s + "\"";
}

std::string Num(double v) { return PlainDecimal(v); }
std::string Num(float v) { return PlainDecimal(v); }
std::string Num(int v) { return std::to_string(v); }

template <typename... T>
void Record(std::string& out, const T&... fields) {
  bool first = true;
  ((out += (first ? "" : ","), out += fields, first = false), ...);
  out += "\r\n";
}

std::string Serialise(DesignState& d, const DesignSheet& sheet) {
  std::string out;
  const std::string note = sheet.Txtcaratteristiche.empty() ? "No description" : sheet.Txtcaratteristiche;
  Record(out, Quoted(note));
  Record(out, Num(d.SurfCount), Num(d.WlCount), Num(ParseLeadingNumber(sheet.Txtangolo)),
         Num(ParseLeadingNumber(sheet.TxtangoloX)));
  Record(out, Num(d.Wavelength[0]), Num(d.Wavelength[1]), Num(d.Wavelength[2]),
         Num(d.Wavelength[3]), Num(d.Wavelength[4]), Num(d.Wavelength[5]));
  auto tilt = [&](int i) {
    Record(out, Num(d.DecY[i]), Num(d.DecX[i]), Num(d.TiltAInput[i]), Num(d.TiltBInput[i]),
           Num(d.TiltOrder[i]));
  };
  for (int i = 0; i <= d.SurfCount; ++i) {
    if (d.Radius[i] > 99999999) d.Radius[i] = 0;  // a plane is stored as 0
    if (d.SurfType[i] == 2) d.AsphA4[i] = d.AsphA6[i] = d.AsphA8[i] = 0;
    Record(out, Num(d.SemiDiam[i]), Num(d.Radius[i]), Num(d.Thickness[i]));
    std::string media = Num(d.MediumCode[i]);
    for (const GlassNameColumn& g : kGlassNameColumns) media += "," + Quoted((d.*(g.names))[i]);
    Record(out, media);
    Record(out, Num(d.IndexWl[1][i]), Num(d.IndexWl[2][i]), Num(d.IndexWl[3][i]),
           Num(d.IndexWl[4][i]), Num(d.IndexWl[5][i]), Num(d.IndexWl[6][i]));
    Record(out, Num(d.SurfType[i]), Num(d.Conic[i]));
    Record(out, Num(0), Num(d.AsphA4[i]), Num(d.AsphA6[i]), Num(d.AsphA8[i]));
    tilt(i);
  }
  tilt(d.SurfCount + 1);
  Record(out, Num(d.ObjDistance), Num(d.HalfFieldY));
  Record(out, Num(d.StopSurf), Num(d.EntrBeamSemiDiam));
  Record(out, Num(d.EnvTempCurrent), Num(d.EnvPressCurrent));
  Record(out, Num(0), Num(0));
  Record(out, Num(0), Num(0));
  return out;
}

}  // namespace

namespace {

// The file a save writes: a symbolic link is followed to the real file, so the
// link stays a link and the file it names gets the design.
std::filesystem::path RealTarget(const std::filesystem::path& path) {
  namespace fs = std::filesystem;
  fs::path p = path;
  for (int hops = 0; hops < 40; ++hops) {
    std::error_code ec;
    if (!fs::is_symlink(fs::symlink_status(p, ec))) return p;
    fs::path next = fs::read_symlink(p, ec);
    if (ec) return p;
    p = next.is_absolute() ? next : p.parent_path() / next;
  }
  return p;
}

std::string ErrnoText(int err) { return std::strerror(err); }

// Writes all of `text` to the descriptor, through short writes and signals.
bool WriteAll(int fd, const std::string& text) {
  const char* p = text.data();
  std::size_t left = text.size();
  while (left > 0) {
    const ssize_t n = ::write(fd, p, left);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    p += n;
    left -= static_cast<std::size_t>(n);
  }
  return true;
}

// The permissions a new file gets: read and write for all, less the umask.
mode_t NewFileMode() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

// Replaces `target` with `text` so that, whatever happens, the folder holds
// either the old file whole or the new one whole: a uniquely named temporary
// in the same folder, flushed to the disk, renamed over the target, and the
// folder flushed so that the rename itself survives a power cut.
void ReplaceFile(const std::string& shown, const std::filesystem::path& target, const std::string& text) {
  namespace fs = std::filesystem;
  struct stat old {};
  const bool exists = ::stat(target.c_str(), &old) == 0;
  if (exists) {
    if (!S_ISREG(old.st_mode)) throw DesignFileError(shown, 0, "this is not a file that can be replaced");
    // Read-only for its owner: refused even where the system would allow it
    // (an administrator's account), as an editor refuses it.
    if ((old.st_mode & S_IWUSR) == 0 || ::access(target.c_str(), W_OK) != 0)
      throw DesignFileError(shown, 0, "the file is read-only; nothing was written");
  }
  const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
  std::string pattern = (folder / ("." + target.filename().string() + ".XXXXXX")).string();
  const int fd = ::mkstemp(pattern.data());
  if (fd < 0)
    throw DesignFileError(shown, 0, "the file cannot be written (" + ErrnoText(errno) + "); nothing was written");
  const std::string tmp = pattern;
  auto fail = [&](const std::string& what) {
    const int err = errno;
    ::close(fd);
    ::unlink(tmp.c_str());
    throw DesignFileError(shown, 0, what + " (" + ErrnoText(err) + "); the old file is unchanged");
  };
  if (exists) {
    // The old file's permissions, and its owner where the account may give it.
    if (::fchmod(fd, old.st_mode & 07777) != 0) fail("the permissions cannot be kept");
    if (old.st_uid != ::geteuid() || old.st_gid != ::getegid()) {
      [[maybe_unused]] const int ignored = ::fchown(fd, old.st_uid, old.st_gid);
    }
  } else if (::fchmod(fd, NewFileMode()) != 0) {
    fail("the permissions cannot be set");
  }
  if (!WriteAll(fd, text)) fail("the file cannot be written completely");
  if (::fsync(fd) != 0) fail("the file cannot be written to the disk");
  if (::close(fd) != 0) {
    const int err = errno;
    ::unlink(tmp.c_str());
    throw DesignFileError(shown, 0, "the file cannot be written (" + ErrnoText(err) + "); the old file is unchanged");
  }
  if (::rename(tmp.c_str(), target.c_str()) != 0) {
    const int err = errno;
    ::unlink(tmp.c_str());
    throw DesignFileError(shown, 0, "the saved file cannot replace the old one (" + ErrnoText(err) + ")");
  }
  const int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir >= 0) {
    ::fsync(dir);  // some file systems cannot flush a folder; the file is in place already
    ::close(dir);
  }
}

}  // namespace

UpdateResult WriteDesignFile(const std::string& path, DesignState& d, DesignSheet& sheet,
                             MediaResolver& media) {
  if (path.empty()) return {};
  // What is on screen is what gets saved, and only a design that passes the
  // update: the tables of a failed one may be half old, half new.
  const UpdateResult before = cmdupdate(d, sheet, media);
  if (!before.ok)
    throw DesignFileError(path, 0, "nothing was written, as the design does not pass the update (" +
                                       before.message + ")");
  const std::string text = Serialise(d, sheet);
  ReplaceFile(path, RealTarget(path), text);
  d.DesignFileName = path;
  d.DesignFileTitle = FileTitle(path);
  return cmdupdate(d, sheet, media);
}

}  // namespace ovrin
