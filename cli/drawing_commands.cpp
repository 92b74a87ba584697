// ovrin-cli layout3d, element and solve-contact: the design in three
// dimensions, the workshop drawing of one element, and the thickness that
// brings two surfaces into contact at their rims.
#include <cmath>
#include <sstream>

#include "cli_common.h"
#include "core/edge_contact.h"
#include "core/number_text.h"
#include "core/system_update.h"
#include "output/element_drawing.h"
#include "output/layout3d.h"

namespace ovrin::cli {

namespace {

// "X,Y,Z" in degrees.
Layout3DSettings RotationOf(const std::string& text, Layout3DSettings s) {
  if (text.empty()) return s;
  std::stringstream in(text);
  std::string part;
  double v[3];
  int k = 0;
  while (std::getline(in, part, ',')) {
    if (k == 3) throw CliFailure("--rot takes three angles: X,Y,Z in degrees");
    try {
      std::size_t used = 0;
      v[k++] = std::stod(part, &used);
      if (used != part.size()) throw std::invalid_argument(part);
    } catch (const std::exception&) {
      throw CliFailure("--rot takes three angles: X,Y,Z in degrees");
    }
  }
  if (k != 3) throw CliFailure("--rot takes three angles: X,Y,Z in degrees");
  s.rotX = v[0], s.rotY = v[1], s.rotZ = v[2];
  return s;
}

nlohmann::json Point(const Vec3& p) { return {p.x, p.y, p.z}; }

Runner Layout3DCommand(CLI::App& c) {
  struct Options {
    DesignInput in;
    std::string rot;
    double zoom = 1;
    int rays = 5;
    bool meridional_only = false;
    PictureOutput picture;
  };
  auto o = std::make_shared<Options>();
  AddDesignInput(c, o->in);
  c.add_option("--rot", o->rot, "view rotation X,Y,Z in degrees (default 25,-35,0)");
  c.add_option("--zoom", o->zoom, "magnification, 1 shows the whole design");
  c.add_option("--rays", o->rays, "rays per fan, 0 to 31 (default 5)");
  c.add_flag("--meridional", o->meridional_only, "meridional fans only");
  AddPictureOutput(c, o->picture);
  return [o] {
    if (!o->picture.wanted()) throw CliFailure("layout3d: --png OUT.png or --svg OUT.svg is needed");
    if (o->rays < 0 || o->rays > 31) throw CliFailure("The number of rays goes from 0 to 31");
    if (!(o->zoom > 0)) throw CliFailure("--zoom must be above 0");
    const auto s = LoadDesign(o->in);
    Layout3DSettings set = RotationOf(o->rot, {});
    set.zoom = o->zoom;
    set.rays = o->rays;
    set.sagittal = !o->meridional_only;
    set.field_deg = ParseLeadingNumber(s->sheet.Txtangolo);
    Layout3D layout;
    try {
      layout = ComputeLayout3D(s->design, set);
    } catch (const std::exception&) {
      throw CliFailure("ERROR! ?");
    }
    RecordingCanvas plot;
    DrawLayout3D(layout, set, plot);
    nlohmann::json vertices = nlohmann::json::array();
    for (const Frame3& f : layout.frames) vertices.push_back(Point(f.origin));
    nlohmann::json j = {{"Rotation", {set.rotX, set.rotY, set.rotZ}},
                        {"Vertices", vertices},
                        {"Elements", layout.elements},
                        {"Faces", layout.faces.size()},
                        {"Rays", layout.rays.size()},
                        {"Centre", Point(layout.centre)},
                        {"Radius", layout.radius}};
    o->picture.Write(plot, 1000, 625, j);
    return j;
  };
}

Runner ElementCommand(CLI::App& c) {
  struct Options {
    DesignInput in;
    int surface = 0;
    double blank = 0;
    std::string pdf, svg, png;
  };
  auto o = std::make_shared<Options>();
  AddDesignInput(c, o->in);
  c.add_option("--surface", o->surface, "a face of the element (the first face of a lens)")->required();
  c.add_option("--blank", o->blank, "a mirror blank's centre thickness (default: a sixth of its diameter)");
  c.add_option("--pdf", o->pdf, "write the A4 sheet as a PDF file");
  c.add_option("--svg", o->svg, "write the A4 sheet as an SVG file");
  c.add_option("--png", o->png, "write the A4 sheet as a PNG file");
  return [o] {
    const auto s = LoadDesign(o->in);
    const ElementDrawing e = ComputeElement(s->design, {o->surface, o->blank});
    if (!e.ok) throw CliFailure(e.error);
    auto face = [](const ElementFace& f) {
      nlohmann::json j = {{"Surface", f.surface}, {"Radius", f.radius}, {"ClearDiameter", 2 * f.semiDiam},
                          {"EdgeSag", f.edgeSag}, {"Type", SurfTypeText(f.type)}};
      if (f.type == kConic || f.type == kHighOrder) j["Conic"] = f.conic;
      if (f.type == kHighOrder) j.update({{"A4", f.a4}, {"A6", f.a6}, {"A8", f.a8}});
      return j;
    };
    nlohmann::json j = {{"First", e.ref.first},
                        {"Last", e.ref.last},
                        {"Mirror", e.ref.mirror},
                        {"Glass", e.glass},
                        {"Diameter", 2 * e.rimSemiDiam},
                        {"CentreThickness", e.centreThickness},
                        {"EdgeThickness", e.edgeThickness},
                        {"VolumeCm3", e.volume / 1000},
                        {"Scale", e.scaleText},
                        {"Front", face(e.front)},
                        {"Back", face(e.back)},
                        {"Table", e.table}};
    RecordingCanvas sheet;
    DrawElement(e, sheet);
    // PDF and SVG on an A4 page in points, so that the print measures true;
    // the PNG at four pixels to the millimetre of paper.
    for (const auto& [key, path] : {std::pair{"pdf", &o->pdf}, {"svg", &o->svg}, {"png", &o->png}}) {
      if (path->empty()) continue;
      const bool bitmap = std::string(key) == "png";
      WritePictureFile(sheet, bitmap ? 1188 : 842, bitmap ? 840 : 595, *path);
      j[key] = *path;
    }
    return j;
  };
}

Runner SolveContactCommand(CLI::App& c) {
  struct Options {
    DesignInput in;
    int surface = 0;
    double h1 = 0, h2 = 0;
    std::string out;
  };
  auto o = std::make_shared<Options>();
  AddDesignInput(c, o->in);
  c.add_option("--surface", o->surface, "the first surface of the pair; the thickness after it is solved")
      ->required();
  c.add_option("--h1", o->h1, "contact half-diameter on that surface (default its own)");
  c.add_option("--h2", o->h2, "contact half-diameter on the next surface (default its own)");
  c.add_option("OUT", o->out, "the design file to write (.ovn)")->required();
  return [o] {
    auto s = LoadDesign(o->in);
    const EdgeContact e = SolveEdgeContact(s->design, {o->surface, o->h1, o->h2});
    if (!e.ok) throw CliFailure(e.error);
    ApplyEdgeContact(s->design, s->sheet, e);
    SaveDesign(*s, o->out);
    return nlohmann::json{{"Surface", e.surface},
                          {"H1", e.h1},
                          {"H2", e.h2},
                          {"Sag1", e.sag1},
                          {"Sag2", e.sag2},
                          {"OldThickness", e.oldThickness},
                          {"Thickness", s->design.Thickness[e.surface]},
                          {"FacesCross", e.facesCross},
                          {"LeastGap", e.leastGap},
                          {"LeastGapHeight", e.leastGapHeight},
                          {"Efl", s->design.Efl},
                          {"Bfl", s->design.Bfl},
                          {"out", o->out}};
  };
}

}  // namespace

std::vector<Command> DrawingCommands() {
  return {
      {"layout3d", "3D layout: the design in its true place, shaded, with rays of three fields", Layout3DCommand},
      {"element", "Element drawing: the workshop sheet of one lens or mirror", ElementCommand},
      {"solve-contact", "Solve the thickness after a surface for contact at the rims", SolveContactCommand},
  };
}

}  // namespace ovrin::cli
