// The opening picture, the help on entering a design, and About.
#include <QDialogButtonBox>
#include <QFrame>
#include <QHBoxLayout>
#include <QListWidget>
#include <QLabel>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

#include "shell/dialogs.h"
#include "shell/widgets_util.h"

namespace ovrin::shell {

namespace {

QFrame* RedLine(QWidget* parent, const char* name) {
  auto* line = new QFrame(parent);
  line->setObjectName(name);
  line->setFixedHeight(3);
  line->setStyleSheet("background-color: rgb(230, 0, 60);");
  return line;
}

const char* const kHelpText = R"(
<h3>Entering a design</h3>
<p>A design is a list of surfaces in the order in which light meets them. Create one with
<b>File &gt; Create New Design</b> and give the number of surfaces (1 to 100), or open a saved
<tt>.ovn</tt> file. Every row of the grid is one surface.</p>
<table border="1" cellpadding="3" cellspacing="0">
<tr><td><b>A.Stop</b></td><td>Click to put the aperture stop on that surface ("AS").</td></tr>
<tr><td><b>Half-Diam.</b></td><td>Clear radius of the surface in mm; for an OBS.SCREEN the radius of the opaque disc.</td></tr>
<tr><td><b>Curv.Radius</b></td><td>Radius of curvature in mm, positive when the centre lies to the right (+Z).
  Type 0 for a plane.</td></tr>
<tr><td><b>Thickness</b></td><td>Distance to the next vertex in mm. After a mirror light travels backwards:
  thicknesses are negative until the next mirror. The last surface has no thickness; the image lies at
  the back focal distance.</td></tr>
<tr><td><b>MEDIUM</b></td><td>What follows the surface: AIR (Posit), AIR (Negat), a glass of one of the
  catalogues, or DIRECT typed indices. A mirror is a change of sign: the space after a mirror is
  AIR (Negat), the space after a second mirror AIR (Posit) again. A glass in a negative space keeps a
  negative index.</td></tr>
<tr><td><b>Surf. Type</b></td><td>SPHERE, CONIC (conic constant K: 0 sphere, -1 paraboloid, below -1
  hyperboloid), HIGH-ORDER (K with the r<sup>4</sup>, r<sup>6</sup>, r<sup>8</sup> coefficients) or
  OBS.SCREEN (a central obstruction such as a diagonal mirror's shadow).</td></tr>
</table>
<p>Click a number cell to type in it; Enter moves down, Tab moves right. Only digits, the point and the
minus sign are taken.</p>
<h3>The object and the beam</h3>
<p><b>Infinity</b> is for a star: give the half-field angles in degrees. <b>Finite</b> is for an object at
a distance: give the distance and the object height in mm. <b>Entr.Beam Half-Diam.</b> is the radius of
the incoming beam; 0 takes the half-diameter of surface 1.</p>
<h3>Updating</h3>
<p>Press <b>OK</b> under the grid to read the table into the system. Back and effective focal length,
the aperture ratio and the image height are then shown, and the analysis commands become available.
" Data Input ERROR ! " means that a ray could not pass: check radii, thicknesses and media.</p>
<p><b>Edit &gt; WaveLengths</b> chooses up to six wavelengths, <b>Edit &gt; TILT/ DECENTER</b> tilts and
decenters surfaces and the image plane, <b>Edit &gt; Insert/Delete Surface/s</b> change the number of
surfaces, and <b>Tools &gt; Scale System</b> and <b>Make Focal</b> scale the whole design.</p>
)";

struct Chapter {
  const char* topic;
  const char* title;
  const char* html;
};

const Chapter kChapters[] = {
    {"DesignData", "The design window",
     "<h3>The design window</h3><p>Every row of the grid is a surface, in the order in which light meets "
     "it. Click a cell to change it: numbers are typed in place (Enter moves down, Tab to the right), the "
     "MEDIUM column offers air and the glass catalogues, the type column the surface shapes. The last "
     "surface has no thickness: the image lies at the back focal distance.</p><p>Press <b>OK</b> to read "
     "the table into the system. The back and effective focal lengths, the aperture ratio (or the image "
     "NA of a near object) and the image height of the chief ray are then shown.</p>"
     "<p><b>Why a mirror's focal length is negative.</b> Lengths are measured along the direction in which "
     "light first travels. After a mirror the light runs back, so the thicknesses and the media after it are "
     "negative, and so are the back and effective focal lengths of a telescope whose last optic is a "
     "mirror: a Newtonian of 1000 mm shows -1000. The size is the focal length; the sign tells which way "
     "the image lies. A second mirror turns the light forward again and the signs with it.</p>"},
    {"WaveLengths", "Wavelengths",
     "<h3>Wavelengths</h3><p>Up to six wavelengths, in microns; the first is the reference for the focal "
     "lengths. The presets fill the visible C, e and F lines, or the eye's night (scotopic) or day "
     "(photopic) curve with their weights. Each wavelength has a pen colour for the plots; the automatic "
     "choice takes it from the spectrum strip. Storing the wavelengths recomputes every glass index.</p>"},
    {"Glass", "Glasses",
     "<h3>Glasses</h3><p>Choose a catalogue in the MEDIUM column, then the glass in its list; type a part "
     "of the name to narrow the list. After a mirror light runs backwards and a glass there has a negative "
     "index: the program keeps the sign for you. DIRECT takes indices you type, one per wavelength.</p>"},
    {"Tilt", "Tilts and decenters",
     "<h3>Tilts and decenters</h3><p>Each surface, and the image plane in the last row, may be decentered "
     "in Y and X (mm) and tilted about X and Y (degrees). The order says whether the decenter or the tilt "
     "comes first. A tilted or decentered system is traced over the whole pupil instead of half of it.</p>"},
    {"SpotDiagram", "Spot diagram",
     "<h3>Spot diagram</h3><p>A bundle of rays from a square grid over the entrance pupil is traced to the "
     "focal surface, for each checked wavelength, on the axis or at the full field of the design window. "
     "<b>Rays per color</b> sets the grid; a centred system traces half the pupil and mirrors it.</p>"
     "<p>The RMS radius is taken about the spot's weighted centroid, while the picture is centred on the "
     "chief ray of the first checked wavelength, so lateral colour shows as a shift between colours. The "
     "spot diameter is the larger side of the box around the spot. The circle at the lower right is the "
     "Airy disc at the same scale; the bar on the left gives the scale in mm. A larger zoom number enlarges "
     "the spot.</p><p><b>Actual B.F.L.</b> is where the image is taken; <b>AutoFocus</b> finds the distance "
     "with the smallest on-axis RMS spot for the checked wavelengths. A curved focal surface is given by "
     "its radius (0 is flat), with the sign of a surface radius: a Schmidt camera's image curves towards "
     "its mirror. <b>Plot Vign.Rays</b> also draws the rays stopped by an aperture or an "
     "obstruction.</p><p><b>Why Total Rays is twice the sum of the other two.</b> A centred system is "
     "symmetric left to right, so only half of the pupil is traced and the other half is its mirror image. "
     "<b>Non-Vign. Rays</b> and <b>Vign. Rays</b> already count both halves, and <b>Total Rays</b> doubles "
     "their sum once more; the rays of the whole pupil are the sum of the two. The total keeps this "
     "long-standing count so that figures compare with earlier printouts. A tilted or decentered system is "
     "traced over the whole pupil, and there the total is the sum of the two (with the chief ray).</p>"
     "<p>A new zoom number redraws the rays already traced when Enter is pressed; <b>Update</b> traces "
     "anew.</p>"},
    {"Seidel", "Paraxial analysis and Seidel sums",
     "<h3>Paraxial analysis and third-order aberrations</h3><p>Two paraxial rays of the first wavelength, "
     "the marginal ray at the edge of the entrance beam and the chief ray at the field angle (the larger of "
     "the two angle boxes), are traced through the surfaces; tilts and decenters are ignored. Each button "
     "prints one table: <b>Paraxial SETUP</b> (focal length, image distance and height, F-number, "
     "Lagrange invariant, pupils, Petzval radius), <b>Parax. RAY-TRACE</b> (heights and angles of both rays "
     "at each surface and at the image), and the <b>SEIDEL</b> sums surface by surface with their totals, "
     "also as <b>TRANSVERSAL</b> and <b>LONGITUDINAL</b> aberrations.</p><p>A conic or high-order surface "
     "adds a row <b>[Asph.Contr.]</b> for its aspheric part: on a paraboloid it cancels the sphere's "
     "spherical aberration. A high-order surface takes only its A4 term here, never its conic. The "
     "longitudinal sum shows the tangential coma, the transversal sum the sagittal coma. An afocal system "
     "gives very large longitudinal values. The tables need a field: with no angle (or no object height "
     "for a near object) the window says so and closes. <b>Copy</b> and <b>Save as text</b> take the "
     "table for notes or a spreadsheet.</p>"},
    {"Spherical", "Spherical aberration and O.S.C.",
     "<h3>Spherical aberration and O.S.C.</h3><p>Real rays in the meridional plane through 20 zones above "
     "and 20 below the axis, for every wavelength in use. The left graph is the longitudinal spherical "
     "aberration: where each zone crosses the axis, from the reference B.F.L. in <b>Actual B.F.L.</b>, "
     "against the zone in % of the pupil radius. The right graph is the transversal aberration in that "
     "plane; zones stopped by an aperture or a central obstruction are drawn in light grey. <b>Max "
     "Scale</b> fixes the longitudinal half-range (0 automatic; a negative value flips the graph).</p>"
     "<p>The table is the Offense against the Sine Condition, which measures coma near the axis, for zones "
     "from 10 % to 100 %. <b>Auto Focus</b> puts the focus of the smallest on-axis spot of the first "
     "wavelength into the B.F.L. box; <b>Show TEXT</b> lists every zone.</p>"},
    {"FieldCurvature", "Field curvature",
     "<h3>Field curvature</h3><p>At ten field steps up to the full field the chief ray and two neighbours "
     "0.0005 mm apart, one in each section, are traced as real rays; where they cross the chief ray are "
     "the tangential (red, <b>Tan.</b>) and sagittal (blue, <b>Sag.</b>) foci, measured along the axis from "
     "the reference plane (<b>Actual B.F.L.</b>, 0 for the paraxial focus). Their gap is the astigmatism. "
     "The last column is the radius of a sphere through the mean of the two foci. One wavelength at a "
     "time; a click on a wavelength or a return to the window updates it. <b>Max. Curv. SCALE</b> fixes "
     "the half-range of the graph (0 automatic).</p>"},
    {"RayFan", "Ray-intercept curves",
     "<h3>Ray-intercept curves</h3><p>21 rays across the entrance pupil, in the tangential (Y) and the "
     "sagittal (X) section, on the axis, at 70 % and at the full field: each curve shows where a ray meets "
     "the image surface, in mm from the chief ray of the first wavelength, against its place in the pupil "
     "(vertical, in %). Other wavelengths keep that reference, so lateral colour shifts their curves. "
     "Each field's scale, printed at the foot, is its largest value. A system without any aberration has "
     "nothing to scale and the update stops with a message; a fan whose largest value is below the printed "
     "figures' last digit (0.00001 mm) is drawn as a straight line. <b>Field Curv.Rad</b> gives a curved image "
     "surface (0 flat).</p>"},
    {"OPDfan", "OPD fans",
     "<h3>OPD fans</h3><p>The optical path difference of 21 rays across the pupil in the tangential "
     "(PY) and 21 in the sagittal (PX) section, against the chief ray, on a reference sphere centred on "
     "the chief ray's image point and passing through the centre of the exit pupil. The lower pair is the "
     "full field, the upper pair the axis; every wavelength in use is drawn in its colour. The values are "
     "in waves of each curve's own wavelength. Each graph is drawn from the centre of its fan, and its "
     "height is set by the largest value of all wavelengths: the +/- figure printed on it is that half "
     "height, in waves.</p><p>The sign is that of a wave that lags: a curve above the axis means that "
     "ray's path is longer than the chief ray's. (The wave front map shows the opposite sign.) A "
     "quarter of a wave peak to valley is the classical limit of a good telescope.</p><p><b>OPD Fans "
     "TEXT</b> lists the same values, 100 % to -100 % of the pupil in steps of 10 %. <b>Auto-Focus</b> "
     "finds the focus that removes the defocus of the on-axis wave front and writes it into Actual "
     "B.F.L.</p>"},
    {"WaveFront", "Wave front",
     "<h3>Wave front</h3><p>The optical path difference over the whole pupil, sampled on a square grid "
     "(32 to 256 points across), against a reference sphere centred on the chief ray's image point. "
     "<b>PEAK to VALLEY</b> and <b>RMS</b> are in waves of the chosen wavelength; the RMS is taken about "
     "the mean. The <b>STREHL RATIO</b> is e^-(2 pi RMS)^2, the peak of the star image against a perfect "
     "one: 0.8 (RMS 1/14 wave) is the diffraction limit a telescope maker aims for.</p><p>The map on the "
     "right uses five colour bands from the valley (black, blue) to the peak (orange, red); the figures "
     "under the colour bar are the band limits. The large picture is the same wave front as a relief, to "
     "turn with the X, Y and Z sliders; <b>Relief</b> flattens or deepens it. A wave front flatter than "
     "0.0001 wave from peak to valley is drawn flat, in one colour: below that the map would only show "
     "the last digits of the arithmetic. <b>Reverse WF</b> changes the sign (a mirror tested at its centre "
     "of curvature shows the reversed wave). <b>Field Curv.Rad</b> measures on a curved image surface, as "
     "a Schmidt camera's film is bent. <b>Export to \"ABERRATOR\"</b> writes the wave front as an .OPD "
     "file (see that chapter).</p>"},
    {"Versus", "RMS and Strehl versus field, focus and wavelength",
     "<h3>RMS and Strehl versus field, focus and wavelength</h3><p>The RMS wave front error, or the "
     "Strehl ratio, computed on a 32 x 32 grid at 21 steps: across the field from the axis to the full "
     "field, through focus on either side of Actual B.F.L., or across the wavelengths between the short "
     "and the long limit (the glass indices are computed again at every wavelength). The table lists "
     "each step; the graph marks the diffraction limit (\"Dif.L\": Strehl 0.8, RMS 1/14 wave). Move the "
     "pointer over the graph to read a point in the caption. <b>AutoFocus</b> first moves to the focus of "
     "the smallest on-axis RMS.</p>"},
    {"Layout", "2D layout",
     "<h3>2D layout</h3><p>The design drawn as a section along its axis: lenses in light blue, mirrors as "
     "black lines, obstructions in red, and fans of rays of the first wavelength, green on the axis and "
     "blue at the field of the slider. A ray stopped by an aperture ends there unless <b>Plot Vignetted "
     "Rays</b> is checked; <b>Plot both Half-Fields</b> adds the opposite field.</p><p>Drag a rectangle "
     "on the picture to zoom into it; <b>Zoom Out</b> widens the view and <b>UNZOOM</b> shows the whole "
     "design again. The bar at the top right gives the scale in mm.</p>"},
    {"Output", "Printing and pictures",
     "<h3>Printing and pictures</h3><p><b>Print</b> sends the window's picture to a printer, fitted to the "
     "page with its proportions kept. <b>Save as bmp file</b> writes the window as a bitmap (.bmp), or "
     "its pictures alone as PNG, SVG or PDF files; a window with several pictures writes one file for each "
     "(NAME-1.png, NAME-2.png, ...). A window with a table has <b>Copy</b> and <b>Save as text</b> for it. "
     "<b>BackColor</b> changes the plot's background at once; the ink follows at the next drawing.</p>"},
    {"Report", "Data report",
     "<h3>Data report</h3><p><b>Tools &gt; System Data Reports</b> sets the whole design on one page, as "
     "you would file it: the notes, the surface table (radius, thickness, medium, glass, half-diameter, "
     "type and the index at each wavelength in use), the conic and high-order terms, the tilts and "
     "decenters, the wavelengths and their weights, the object and the field, the first-order data (Efl, "
     "Bfl, f-number, image height, entrance and exit pupil, Petzval radius) and the Seidel sums.</p>"
     "<p>The page is drawn on the left and listed on the right. <b>Print page</b> prints the page fitted "
     "to the paper, <b>Save as PDF</b> writes it as a PDF document, <b>Page as text</b> opens it in a plain "
     "text window with Print and Exit, and <b>Save as bmp file</b> writes the window as a picture (BMP, "
     "PNG, SVG or PDF by the extension).</p>"},
    {"Sagitta", "Sagitta table",
     "<h3>Sagitta table</h3><p><b>Tools &gt; Sagitta Table</b> lists, for every surface, the sag from the "
     "vertex plane at ten zones from the centre out to the half-diameter (the last line is the edge): the "
     "sag of the vertex sphere, the sag of the surface as the ray tracer sees it (conic and r^4, r^6, r^8 "
     "terms), and for a conic or high-order surface its departure from the best-fit sphere. The best-fit "
     "sphere is the one through the vertex and the edge of the surface, the sphere you generate before "
     "figuring and read with a spherometer across the full diameter; the departure is what the figuring "
     "must remove, zone by zone. A conic that does not reach a zone is marked.</p>"},
    {"Allowances", "Aberration allowances",
     "<h3>Aberration allowances</h3><p><b>Tools &gt; Aberration Allowances</b> gives the errors that each "
     "bring a quarter wave of optical path difference (the Rayleigh limit), for the chosen wavelength "
     "lambda and N = Efl / entrance beam diameter. Each term is taken with its best balancing term: "
     "depth of focus +-2 lambda N^2 (W020 = lambda/4); spherical aberration refocused, W040 = lambda: "
     "longitudinal 16 lambda N^2, transverse 8 lambda N; coma with the image recentred, W131 = 3 lambda/8: "
     "tangential length 9/4 lambda N, sagittal 3/4 lambda N; astigmatism at the middle focus, W222 = "
     "lambda/2: focal difference 4 lambda N^2.</p><p>For a design with two mirrors the secondary's "
     "decenter and tilt (about its vertex) are given too: its Seidel spherical term S_I turns into coma "
     "W131 = S_II / 2 when the mirror moves off the beam, with S_II = S_I,sph n beta / A for a tilt beta "
     "(A the refraction invariant of the marginal ray there) and, for a shift d, the same with beta = d / R "
     "plus S_I,asph d / y from the aspheric cap. A flat secondary has no such limit.</p>"},
    {"Aberrator", "Export to ABERRATOR",
     "<h3>Export to ABERRATOR</h3><p>The <b>Export to \"ABERRATOR\"</b> button of the wave front window "
     "writes the wave front of its wavelength, field and focus as an .OPD text file for an outside "
     "wavefront viewer. Choose the grid, 101x101 to 401x401: an N x N grid has (N - 1) / 2 steps across the "
     "pupil radius, and the samples are those of the spot diagram's pupil grid (half the pupil for a "
     "centred system). <b>Create an .OPD file</b> computes the OPD of every sample (first bar), asks for "
     "the file name and writes it (second bar); the file name becomes the design's path. The file holds "
     "the wavelength in nm and the beam diameter, one line per sample (column, row, OPD in waves), the word "
     "MASK, and one line per sample (column, row, 1).</p><p>The offset added to every OPD is 0: values are "
     "the path difference from the chief ray, so the pupil centre reads 0 and a sample that no ray reached "
     "reads exactly 0. Large grids take time: 401x401 writes several megabytes. Any fault shows "
     "\"ERROR!\".</p>"},
    {"DiffPSF", "Diffraction PSF",
     "<h3>Diffraction PSF</h3><p>The image of a point as diffraction forms it, from the wave front of the "
     "chosen wavelength and field over a pupil grid of 32x32 to 256x256 samples, by the Fourier transform "
     "of the pupil. Samples cut by an aperture or an obstruction carry no light. The left picture shows "
     "the central half of the image as a relief, the map below it the same from above, and the bar the "
     "intensity scale.</p><p><b>Normalize Peak Intensity to....</b>: <b>Unity</b> scales the highest point "
     "to the full height; <b>Unaberrated PSF</b> scales it by the Strehl ratio, so that the relief stands "
     "as high as it would beside a perfect image. The colour, solid or transparent surface and the back "
     "colour redraw at once, as do the three rotations. Left click zooms in, right click zooms out, on "
     "either picture. <b>Auto-Focus</b> puts the focus where the on-axis RMS wave front is least.</p>"},
    {"MTF", "Diffraction MTF",
     "<h3>Diffraction MTF</h3><p>The contrast the design passes at each spatial frequency, from the "
     "transform of its diffraction image, at the centre, at 0.7 of the field and at the full field. Red is "
     "the tangential curve, blue the sagittal, black the perfect unobstructed aperture of the same focal "
     "ratio. The frequency axis ends at the cut-off 1 / (focal ratio x wavelength) in cycles per mm.</p>"
     "<p><b>Sampling</b> is the size of the transform: the pupil takes half of it each way. <b>MTF  Text"
     "</b> lists the three curves with the ideal one. Where an odd aberration makes the transfer change "
     "sign the curve folds upwards at the zero, as the magnitude is shown.</p>"},
    {"MTFfocus", "Diffraction through-focus MTF",
     "<h3>Diffraction through-focus MTF</h3><p>The transfer curves of one field at three focus positions: "
     "the Actual B.F.L. plus <b>Defocus</b> (thick lines), the Actual B.F.L. itself, and minus "
     "<b>Defocus</b> (thin lines). Sampling is the size of the grid used to sample the OPD in the pupil. "
     "(Default is 64x64.) For a wave front of many waves a geometric MTF is the better measure.</p>"},
    {"Zernike", "Zernike analysis",
     "<h3>Zernike analysis</h3><p>The wave front at the design's full field, on a 32x32 grid, fitted by "
     "least squares with the 37 Fringe Zernike polynomials. Th number of Zernike terms utilized in this "
     "analysis is 37. The coefficients are in units of wavelengths. Rays stopped inside the pupil count "
     "as no path difference in the fit. <b>Print</b> prints the table.</p>"},
    {"LensPredesign", "Houghton, doublet and triplet pre-design",
     "<h3>Houghton, doublet and triplet pre-design</h3><p>The <b>Houghton</b> windows put a corrector of "
     "two lenses of one glass in front of spherical mirrors. Lens B is lens A with its curvatures reversed "
     "in sign (R3 = -R1, R4 = -R2), so the pair has no power at the design wavelength; the power and the "
     "bending of lens A are chosen so that the whole system has no third-order spherical aberration and "
     "coma. The aspheric windows make R2 and R4 plane and let the conic of the last mirror take the place "
     "of the bending.</p><p>The <b>doublet</b> splits the power between its lenses so that the foci of "
     "wavelengths 2 and 3 meet (V = (n1 - 1) / (n3 - n2)); the shapes give zero spherical aberration and "
     "zero coma when air-spaced, zero spherical aberration with the least coma when cemented. The "
     "<b>triplet</b> brings all three wavelengths to one focus from the Abbe-like numbers and the partial "
     "dispersions P = (n1 - n2) / (n3 - n2) of three glasses of your choice: glasses far apart in P give "
     "weak lenses, glasses close in P strong ones and large higher-order aberrations. Its scroll bars "
     "change the power of lens B, R5 against its aplanatic value and the second air space, and the design "
     "is written and its aberration curves drawn at once; <b>Restore</b> puts them back.</p><p>Every lens "
     "gets a centre thickness that leaves an edge of at least 1 mm, or 5 % of its diameter. The solution is "
     "of the third order: analyse the design and refine it in the design window or with the optimiser.</p>"},
    {"MultiSpot", "Multi-spot diagram",
     "<h3>Multi-spot diagram</h3><p>Common to the geometric family: a square grid of rays over the whole "
     "entrance pupil (<b>Pupil steps</b> across its radius), traced with every aperture in place, for each "
     "checked wavelength weighted by its weight. The chief ray passes the pupil centre. A field is a "
     "fraction of the full field: the design's half-field angle for an object at infinity, its object "
     "height for a near object. Focus shifts are measured from <b>Actual B.F.L.</b> (the paraxial B.F.L. "
     "when the two are equal).</p><p>Top row: the on-axis spot at five focus positions, "
     "-2, -1, 0, +1, +2 times the <b>Focus step</b>. Bottom row: on axis, 0.7 and full field at the "
     "focus in use. Every spot is centred on its centroid and drawn at one common scale; the grey circle "
     "is the Airy disc, radius 1.22 &lambda; N (N the working F-number, |f|/D, or 1/(2 NA) for a near "
     "object). RMS is the weighted root-mean-square distance of the rays from their centroid.</p>"},
    {"MatrixSpot", "Matrix spot diagram",
     "<h3>Matrix spot diagram</h3><p>One spot per field (rows, from the <b>Fields</b> list) and per "
     "checked wavelength (columns), each centred on its centroid at a common scale, with its RMS radius "
     "and the Airy disc of its own wavelength. Rays as in the multi-spot diagram.</p>"},
    {"TotalFieldSpot", "Total field spot diagram",
     "<h3>Total field spot diagram</h3><p>The spots of the <b>Fields</b> list drawn where they fall on "
     "the image plane, all to one scale (the bar gives it), so that distortion and the image size are seen "
     "as they are. <b>Spot magnification</b> spreads each spot's rays about its chief ray by that factor "
     "(1 shows the spots at their true size); the places stay true. The text gives each spot's chief-ray "
     "height and RMS radius.</p>"},
    {"RmsVersus", "RMS spot size versus focus, field or wavelength",
     "<h3>RMS spot size versus...</h3><p>The RMS spot radius (about the centroid, all checked wavelengths, "
     "weighted) along a scan: <b>Focus</b>, from -range to +range around the focus in use, at the chosen "
     "field; <b>Field</b>, from the axis to the full field; <b>WaveLength</b>, from the first to the last "
     "wavelength given, every glass index rebuilt from its catalogue at each step (DIRECT indices stay as "
     "wavelength 1 has them). The red line is the diffraction limit drawn for reference: the Airy radius "
     "1.22 &lambda; N, which grows with the wavelength in the wavelength scan.</p>"},
    {"Distortion", "Distortion",
     "<h3>Distortion</h3><p>The real chief ray of wavelength 1 against the paraxial image height: "
     "f tan &theta; for an object at infinity (f the effective focal length), the paraxial magnification "
     "times the object height for a near object. Distortion in mm is real minus paraxial height; in "
     "percent, that difference over the paraxial height. The right-hand picture shows a 9 x 9 grid of "
     "field points: grey the paraxial grid, blue where the real chief rays land (a barrel or pincushion "
     "at a glance).</p>"},
    {"LateralColour", "Lateral colour",
     "<h3>Lateral colour</h3><p>For each checked wavelength after the first (every wavelength in use when "
     "only the first is checked), its chief-ray height on the "
     "image plane minus that of wavelength 1, from the axis to the full field. It is 0 on the axis. The "
     "grey lines mark plus and minus the Airy radius of wavelength 1: lateral colour inside them is not "
     "seen.</p>"},
    {"FocalShift", "Chromatic focal shift",
     "<h3>Chromatic focal shift</h3><p>The paraxial focus, measured from the last surface, at each "
     "wavelength from <b>From</b> to <b>To</b> (0.4 to 0.8 &micro;m by default), every glass index "
     "rebuilt from its catalogue; the curve is its distance from the paraxial focus of wavelength 1. The "
     "spread is the largest minus the smallest focus. A mirror system has none. <b>Export to "
     "ABERRATOR</b> asks first, then writes a .CFS text file: the design title in quotes, the reference "
     "focus and the image distance in use, then one line per wavelength with its focal shift.</p>"},
    {"EncircledEnergy", "Geometric encircled energy",
     "<h3>Geometric encircled energy</h3><p>The fraction of the ray weight within a circle of growing "
     "radius, centred on the spot's centroid (blue) or on the chief ray (green), and within a square of "
     "that half width (ensquared, orange). The table gives the radii holding 50, 80 and 90 %. The red "
     "curve is the diffraction limit of a clear circular pupil, 1 - J0(v)&sup2; - J1(v)&sup2; with "
     "v = &pi; r / (&lambda; N): a geometric curve far left of it means the diffraction pattern, not the "
     "rays, sets the image size.</p>"},
    {"GeometricPsf", "Geometric PSF",
     "<h3>Geometric PSF</h3><p>The ray weight binned on a square grid centred on the centroid "
     "(<b>Bins a side</b>, <b>Half width</b>; 0 takes 1.2 times the largest ray distance), scaled to a peak "
     "of 1. Left, the map (brightness as the square root of the density); right, the relief seen from "
     "<b>Relief view</b> degrees. It holds no diffraction: use it when the spot is much larger than the "
     "Airy disc.</p>"},
    {"GeometricMtf", "Geometric MTF",
     "<h3>Geometric MTF</h3><p>The modulus of the Fourier transform of the spot's line spread, "
     "|&Sigma; w exp(-2&pi;i &nu; y)| / &Sigma; w, along Y (tangential, T) and along X (sagittal, S) for "
     "each field, multiplied, as is usual, by the diffraction MTF of a clear circular pupil, "
     "(2/&pi;)(acos s - s &radic;(1 - s&sup2;)) with s = &nu; / &nu;c and the cut-off &nu;c = 1/(&lambda; N). "
     "A perfect system gives the diffraction curve itself (black).</p>"},
    {"GeometricMtfFocus", "Geometric through-focus MTF",
     "<h3>Geometric through-focus MTF</h3><p>The geometric MTF, as in the geometric MTF window, at one "
     "<b>Frequency</b>, tangential and sagittal for each field, while the image plane moves from -range "
     "to +range around the focus in use. Its peak is the best focus for that frequency.</p>"},
    {"RealRays", "Real rays",
     "<h3>Real rays</h3><p>One ray of the chosen wavelength, set by its field fraction and its pupil "
     "coordinates (fractions of the entrance pupil radius), surface by surface: where it meets the surface "
     "(X, Y, Z in the surface's own frame, Z the sag), its direction cosines after the surface, the angle "
     "of incidence (from the surface normal, through Snell's law from the refracted ray; equal to the "
     "angle of reflection on a mirror), and its geometric path length from the previous surface. The last "
     "line is the image plane. A ray stopped by an aperture is marked and traced on.</p>"},
    {"Vignetting", "Vignetting plot",
     "<h3>Vignetting plot</h3><p>The fraction of the pupil grid's rays that pass every aperture and "
     "obstruction, from the axis to the full field, wavelength 1. An obstructed telescope starts below 1 "
     "on the axis by the obstruction's share of the pupil.</p>"},
    {"Footprint", "Footprint",
     "<h3>Footprint</h3><p>Where the rays of the pupil grid meet the chosen <b>Surface</b>, in its own "
     "frame, for each field: blue on axis, green at 0.7, red at the full field (grey where a ray is "
     "stopped there or before). The black circle is the surface's clear aperture. The text gives how far "
     "each beam reaches.</p>"},
    {"BestFocus", "Best focus",
     "<h3>Best focus</h3><p>The focus shift from the image distance in use that makes the image best by "
     "one of two measures, on axis or at a field: <b>Min. RMS spot</b>, the RMS spot radius of all "
     "checked wavelengths, weighted; <b>Min. RMS wavefront</b>, the weighted RMS of the wavefront error "
     "(piston removed) on the reference sphere. A coarse scan over the search range (0: forty depths of "
     "focus, 40 N&sup2; &lambda;, at least 0.05 mm) is refined by golden sections. <b>Write into last "
     "thickness</b> adds the shift to the last surface's thickness in the grid, after a question, and puts "
     "the new image distance into <b>Actual B.F.L.</b>; the next system update sets the last thickness to "
     "0 again, as it always does. The graph is the RMS spot radius through focus.</p>"},
    {"GlassDiagrams", "Glass diagrams",
     "<h3>Glass diagrams</h3><p>Every glass of the checked catalogues, each catalogue in its own colour, "
     "placed by numbers computed from the glass' own dispersion formula. <b>Nd-Vd Diagram</b>: the index "
     "n<sub>d</sub> against the Abbe number v<sub>d</sub> = (n<sub>d</sub> - 1) / (n<sub>F</sub> - "
     "n<sub>C</sub>), with v<sub>d</sub> falling to the right as the glass makers draw it: crowns on the "
     "left, flints on the right. <b>Relative Partial Dispersion Diagram</b>: P<sub>g,F</sub> = "
     "(n<sub>g</sub> - n<sub>F</sub>) / (n<sub>F</sub> - n<sub>C</sub>) against v<sub>d</sub>, with the "
     "normal line P<sub>g,F</sub> = 0.6438 - 0.001682 v<sub>d</sub> through the reference crown K7 and "
     "flint F2. <b>P - P Diagram</b>: P<sub>g,F</sub> against P<sub>C,t</sub> (t = 1.014 &micro;m). "
     "</p><p>Most glasses lie near the normal line; an achromat of two of them leaves the secondary "
     "spectrum that the slope of the line gives. The secondary spectrum of a pair is in proportion to the "
     "slope of the straight line joining their two points: for an apochromat choose two glasses far "
     "apart in v<sub>d</sub> with nearly equal P<sub>g,F</sub>, such as a fluor crown well above the "
     "normal line (N-FK51A, S-FPL53) with a short flint or a lanthanum crown.</p><p>Point at a glass: the line under the catalogues reads its name, n<sub>d</sub>, "
     "v<sub>d</sub> and partial dispersions. Click it: the text pane gives its formula, coefficients, "
     "indices at the lines, its offset from the normal line, density, expansion and dn/dT constants, and "
     "the picture marks it. To compare with a maker's data sheet, read n<sub>d</sub> and v<sub>d</sub> "
     "there: they agree to the last digit the formula holds (a few units of the fifth decimal). "
     "<b>Glass names</b> writes each name beside its mark. Print and Save work as in every analysis "
     "window.</p>"},
    {"GlassCatalog", "Glass catalogue",
     "<h3>Glass catalogue</h3><p>The chosen catalogue as a table: name, n<sub>d</sub>, v<sub>d</sub>, "
     "P<sub>g,F</sub>, the index at the wavelength typed in <b>Index at</b> (microns), the formula "
     "(Sellmeier, or the Schott power series) with its six coefficients in stored order (B1 B2 B3 C1 C2 "
     "C3, or A0 A2 A4 A1 A3 A5), the density in g/cm&sup3; and the expansion in 10<sup>-6</sup>/K. "
     "<b>Search</b> keeps the glasses whose name contains the text typed, in any case. Click a column's "
     "head to sort by it; click a glass to see all its data below the table. A glass without a "
     "published formula is listed but cannot be used. <b>Save as text</b> writes the table as shown, one "
     "glass a line, the columns separated by tabs.</p>"},
    {"Environment", "Environmental analysis",
     "<h3>Environmental analysis</h3><p>Opened with <b>Analysis...</b> in Edit, Environmental Conditions, "
     "at the temperature and pressure typed there. It compares the design at its own conditions (those "
     "it was computed for, shown at the top) with the actual ones, without changing the design: "
     "</p><ul><li>the relative index of every glass space at every wavelength in use, computed exactly "
     "as OK in the dialog would set it: SCHOTT and OHARA glasses by the makers' dn/dT formula and the "
     "index of air (lower pressure, thinner air: every index against air rises); glasses of the other "
     "catalogues, marked *, keep their catalogue index;</li><li>the focal length and the back focus "
     "(from the last surface) by a paraxial trace at each wavelength, and the focus shift, the change of "
     "the back focus.</li></ul><p>With <b>Lenses grow with their glass</b> the radii and thicknesses of "
     "the lenses follow the glass' expansion. <b>Mirror blanks</b> and <b>Tube</b> are the expansions of "
     "the mirror material and of the tube that holds the air spaces, in 10<sup>-6</sup>/K (Pyrex 3.3, "
     "Zerodur 0.05, steel 12, aluminium 23); 0 keeps them as they are. A mirror telescope whose mirror "
     "and tube are of one material only scales: its focus moves with the tube. To check the result at "
     "the telescope: focus on a star in the cold night, note the focuser's position, and compare the "
     "change with the one at the temperature of the evening; the table's focus shift is the change of "
     "back focus that the focuser must follow.</p>"},
    {"Layout3D", "3D layout",
     "<h3>3D layout</h3><p>The design in three dimensions: lenses shaded in blue and closed by their rims, "
     "mirrors in grey, obstructions in red, the image plane as a square, and rays of wavelength 1 at three "
     "fields (green on axis, blue at 0.7, red at the full field), a meridional fan and, with <b>Sagittal rays "
     "too</b>, a sagittal one. Tilted and decentered surfaces stand where the ray trace finds them: a tilted "
     "flat folds the axis, and a decenter moves what follows, as it does for the rays. Press <b>Update</b>, "
     "then drag the picture with the left button to turn the design (across turns it about the vertical, up "
     "and down tilts it), or use the three rotation sliders; the wheel or the <b>Zoom</b> slider enlarges. "
     "<b>Side view</b> shows the 2D layout's view. The small axes at the lower left show which way X, Y and Z "
     "point. To check a folded design, compare the place of the focus with the tube you mean to build; "
     "Print and Save work as in every window. A design the drawing cannot follow gives \"ERROR! ?\".</p>"},
    {"ElementDrawing", "Element drawing",
     "<h3>Element drawing</h3><p>The workshop sheet of one element, chosen in the <b>Element</b> list: a lens "
     "(two faces with glass between them) or a mirror on its blank. The section is drawn to a standard scale "
     "(given in the title block) on an A4 landscape sheet, the light coming from the left, with the diameter "
     "(D), the centre thickness on the axis (CT) and the edge thickness at the rim (ET). The table gives the "
     "glass, each face's radius (convex or concave as seen from outside the part), clear diameter, conic and "
     "high-order terms, and its sag at the edge, and the volume. A face smaller than the part is carried flat "
     "out to the rim. A mirror's blank is a sixth of its diameter thick at the centre unless you type "
     "another in <b>Mirror blank</b>.</p><p>To compare with the real part: the edge thickness is what a "
     "micrometer reads at the rim, and the sag at the edge is what a spherometer or a depth gauge reads over "
     "the full clear diameter; both follow from the radii and the centre thickness. <b>Print sheet (A4)</b> "
     "prints the sheet over the whole A4 page, so that a rule laid on the print measures true at the stated "
     "scale; <b>Save sheet</b> writes it as PDF or SVG (an A4 page) or PNG.</p>"},
    {"SolveContact", "Solve for edge contact",
     "<h3>Solve for edge contact</h3><p>Choose a surface and the contact half-diameters on it and on the "
     "next surface (the half-diameters of the table are offered). <b>Solve</b> shows the thickness after "
     "the surface that brings the two rims together, from the sag of each surface at its half-diameter: "
     "thickness = sag of the first - sag of the second. <b>OK</b> writes it into the table and runs the "
     "system update, as every edit does. Use it for air-spaced lenses that rest on each other at their "
     "edges, or for the rim of a cemented pair. When the faces would cross inside the rim (two faces bulging "
     "towards each other) a warning says where, and the thickness is written only if you confirm: such a "
     "pair touches at the centre, not at the edge, and needs a spacer.</p>"},
    {"Interferogram", "Interferogram",
     "<h3>Interferogram</h3><p>The fringes an interferometer shows of the design's wave front for the "
     "chosen wavelength and field at the <b>Actual B.F.L.</b>. The wave front is traced on the pupil grid "
     "and turned into the waves of the <b>Test wavelength</b> (0.6328 micron is the helium-neon laser); "
     "<b>Double pass</b> doubles it, as when the light goes through the optics and back (an optical flat "
     "behind a telescope, or a mirror tested at its centre of curvature). <b>Tilt X</b> and <b>Tilt Y</b> "
     "add straight fringes across the pupil diameter, <b>Defocus</b> adds circular ones (waves at the "
     "edge), as turning the reference mirror or moving the focus does at the bench. <b>P-V</b> and "
     "<b>RMS</b> are of the design's own wave front in test waves; <b>Fringes</b> is the peak-to-valley of "
     "what is shown, the number of fringes to count.</p><p>To compare with a real interferogram, set the "
     "same test wavelength and pass, then add tilt until the fringe count and direction match your "
     "picture: straight, evenly spaced fringes mean a perfect wave front; fringes that bend by a fraction "
     "of their spacing show that fraction of a wave of error (times two in double pass is already "
     "included). Samples where no light arrives (an obstruction, a vignetted ray) stay black.</p>"},
    {"Ronchigram", "Ronchigram",
     "<h3>Ronchigram</h3><p>The bands a Ronchi grating shows, computed from real rays: each point of the "
     "picture is a point of the pupil, light where its ray passes through a clear slit of the grating, "
     "dark where it meets a line. The grating has the given number of lines per inch or per millimetre, "
     "a slit centred on the axis, and stands at <b>Distance</b> from the focus (positive outside, further "
     "along the light; negative inside).</p><p><b>System at its focus</b>: a star on the axis seen through "
     "the whole telescope, the grating near the focus at the <b>Actual B.F.L.</b>. A perfect system gives "
     "straight, evenly spaced bands; bands that bow show spherical aberration.</p><p><b>Mirror at its "
     "centre of curvature</b>: the usual bench test of the chosen mirror alone, light source and grating "
     "together near its centre, the light reflected once (the rays cross the grating on their way back). "
     "A sphere gives straight bands; a paraboloid gives bands that bow outwards inside the centre and "
     "inwards outside it, more strongly towards the edge. Set the same grating and distance as at your "
     "bench: the number of bands (<b>Bands across</b>) and their curvature should match the grating in "
     "front of your eye.</p>"},
    {"Foucault", "Foucault test",
     "<h3>Foucault test</h3><p>The knife-edge test of the chosen mirror at its centre of curvature. The "
     "picture is the mirror seen past a knife that cuts the returning light from the left, at <b>Knife</b> "
     "millimetres behind the centre of curvature of the mirror's middle (and <b>Knife side</b> across). "
     "The slit's width sets how soft the shades are. A sphere darkens evenly all over when the knife is "
     "at its centre; a paraboloid shows its doughnut, and the zone whose reading the knife stands at "
     "turns an even grey on both sides.</p><p>The table lists the zones of a Couder mask of equal areas, "
     "and for each the knife position where it goes grey, measured from the centre of curvature of the "
     "middle: h<sup>2</sup>/2R for a paraboloid with the source moving with the knife (as in most testers), "
     "about h<sup>2</sup>/R with a fixed source. Type the readings you took, one per zone, into "
     "<b>Readings</b> (any common zero will do: the focus is fitted out) and press Update: the table "
     "adds the differences and the resulting wave-front error of each zone, with the P-V, RMS and Strehl "
     "of the mirror at its focus, in waves of the given wavelength.</p>"},
    {"StarTest", "Star test",
     "<h3>Star test</h3><p>The image of a star a little inside and a little outside the focus, side by "
     "side, as diffraction forms them: the wave front at the <b>Actual B.F.L.</b> with <b>Defocus</b> "
     "waves of focus taken away and added, through the Fourier transform. A perfect system gives two "
     "identical discs with the same rings; spherical aberration makes them differ: under-correction "
     "gathers the light into the outer ring inside focus and softens the edge outside it, over-correction "
     "the other way round. Astigmatism makes the discs oval at right angles to each other. The secondary "
     "mirror's shadow and the spider show as they do in the eyepiece.</p><p>To compare with the sky, "
     "rack the eyepiece the same distance both ways: a defocus of d waves is a focus shift of about "
     "8 N<sup>2</sup> d wavelengths at f/N. <b>Intra / extra difference</b> is the share of the light that "
     "differs between the two pictures. Larger defocus needs a finer grid (at most grid / 8 waves).</p>"},
    {"EEPDiff", "Diffraction encircled energy",
     "<h3>Diffraction encircled energy</h3><p>The fraction of the light of one star image within a circle "
     "of growing radius, centred on the chief ray, taken from the diffraction point spread function (the "
     "FFT of the pupil of the chosen wavelength, <b>Pupil grid</b> samples across). The circle is "
     "integrated exactly between the samples, so small radii are as good as large ones. Red is the design, "
     "black a perfect clear circular aperture of the same focal ratio, 1 - J0(v)&sup2; - J1(v)&sup2; with "
     "v = &pi; r / (&lambda; N): 83.8 % within its first dark ring (1.22 &lambda; N, the blue line), "
     "91 % within the second. <b>Radius (dark rings)</b> sets how far the curve runs. A central "
     "obstruction moves light from the core into the rings: a quarter of the diameter leaves about 72 % "
     "in the first dark ring even when the optics are perfect.</p><p>Comparing with the real telescope: "
     "the energy in the first ring is what a photometer or a CCD sees through an aperture of that size, "
     "and the 80 % radius tells the pixel size that catches most of a star.</p>"},
    {"VisualPSF", "Simulated colour image of a star",
     "<h3>Simulated colour image of a star</h3><p>What the eye sees at high power on a star: the "
     "diffraction image of every checked wavelength, each scaled to its own size (the Airy disc grows "
     "with the wavelength), weighted by its weight and tinted with the colour of that wavelength, added "
     "on a black sky. <b>Width</b> is the side of the picture in microns (0: twelve dark rings of the "
     "longest wavelength); <b>Brightness</b> lifts the faint rings as the eye does (Linear shows the "
     "intensity itself).</p><p>Comparing with the real star test: an achromat shows a green-yellow core "
     "in a purple or red halo (the secondary spectrum); a mirror shows white rings; an undercorrected lens "
     "shows a blue or red fringe that changes from one side of focus to the other. Set the focus in "
     "<b>Actual B.F.L.</b> and compare with the eyepiece view.</p>"},
    {"MultiAnl", "Multi-analysis plot",
     "<h3>Multi-analysis plot</h3><p>One page holding the layout, the spot on axis and at the full "
     "field (both at one scale, the checked wavelengths), the ray fans on axis and at the full field, "
     "the diffraction MTF on axis and at the full field, and the numbers: focal length, focal ratio, "
     "back focus, the RMS spot radii and the wave front's P-V, RMS and Strehl ratio on axis and at the "
     "full field of the chosen wavelength. A part that cannot be computed says so and leaves the others. "
     "<b>Print the sheet</b> prints the page alone, fitted to one sheet of paper: print one for each "
     "design and lay them side by side.</p>"},
    {"Ghost", "Ghost analysis",
     "<h3>Ghost analysis</h3><p>Light reflected back by one refracting surface and forward again by an "
     "earlier one reaches the image as a faint second image. For every pair of refracting surfaces "
     "(mirrors and obstructions make none here) the near-axis marginal ray is followed through the two "
     "reflections to the image space: the ghost's focus measured from the image plane (negative before it), "
     "the diameter of its disc on the image plane, and its energy, the product of the two reflectances "
     "(bare glass: ((n' - n) / (n' + n))&sup2;, about 4 % for crown glass; <b>Reflectance</b> sets one "
     "value in percent for coated surfaces). The list is sorted by brightness: the ghost's energy spread "
     "over its disc, against a perfect star image spread over its Airy disc. A ghost that focuses near the "
     "image with a small disc is the one that shows; the plot puts each pair at its focus and its "
     "brightness (log scale).</p><p>Comparing with the real telescope: a bright star just outside the "
     "field, or the Moon, shows the worst ghosts as rings or spots around the image; a ghost close to "
     "focus shows as a small out-of-focus star.</p>"},
};

}  // namespace

HelpBook::HelpBook(QWidget* parent) : QWidget(parent) {
  setObjectName("FrmGuida");
  setWindowTitle("Ovrin Help");
  chapters_ = new QListWidget(this);
  chapters_->setObjectName("ListChapters");
  page_ = new QTextBrowser(this);
  page_->setObjectName("picInner");
  for (const Chapter& c : kChapters) {
    auto* item = new QListWidgetItem(c.title, chapters_);
    item->setData(Qt::UserRole, QString(c.topic));
  }
  chapters_->setMaximumWidth(chapters_->fontMetrics().horizontalAdvance("Printing and pictures") + 40);
  connect(chapters_, &QListWidget::currentRowChanged, this, [this](int row) {
    if (row >= 0 && row < static_cast<int>(std::size(kChapters))) page_->setHtml(kChapters[row].html);
  });
  auto* h = new QHBoxLayout(this);
  h->addWidget(chapters_);
  h->addWidget(page_, 1);
  resize(fontMetrics().horizontalAdvance(QString(100, 'x')), fontMetrics().height() * 28);
  chapters_->setCurrentRow(0);
}

void HelpBook::ShowTopic(const QString& topic) {
  for (int i = 0; i < chapters_->count(); ++i)
    if (chapters_->item(i)->data(Qt::UserRole).toString() == topic) chapters_->setCurrentRow(i);
}

QString HelpBook::CurrentTopic() const {
  auto* item = chapters_->currentItem();
  return item ? item->data(Qt::UserRole).toString() : QString();
}

SplashWindow::SplashWindow() : QWidget(nullptr, Qt::SplashScreen | Qt::FramelessWindowHint) {
  setObjectName("frmSplash");
  setWindowTitle("Ovrin");
  auto* v = new QVBoxLayout(this);
  v->setContentsMargins(24, 18, 24, 18);
  auto* title = new QLabel("<span style='font-size:28pt; font-weight:bold'>Ovrin</span>", this);
  title->setAlignment(Qt::AlignCenter);
  auto* sub = new QLabel("Optical Design and Analysis Software\nfor telescope makers", this);
  sub->setAlignment(Qt::AlignCenter);
  auto* ver = new QLabel("Version " OVRIN_VERSION, this);
  ver->setAlignment(Qt::AlignCenter);
  v->addWidget(RedLine(this, "Line1"));
  v->addWidget(RedLine(this, "Line2"));
  v->addSpacing(12);
  v->addWidget(title);
  v->addWidget(sub);
  v->addWidget(ver);
  v->addSpacing(12);
  v->addWidget(RedLine(this, "Line3"));
  v->addWidget(RedLine(this, "Line4"));
  setStyleSheet("SplashWindow, QWidget#frmSplash { background-color: white; }");
  setAutoFillBackground(true);
  QPalette p = palette();
  p.setColor(QPalette::Window, Qt::white);
  setPalette(p);
  adjustSize();
  CenterWindow(this, 2, 2);
}

HelpWindow::HelpWindow(QWidget* parent) : QDialog(parent) {
  setObjectName("Frmguidadati");
  setWindowTitle("Help: entering a design");
  auto* text = new QTextBrowser(this);
  text->setObjectName("TxtHelp");
  text->setHtml(kHelpText);
  auto* close = new QPushButton("Close", this);
  close->setObjectName("CmdClose");
  connect(close, &QPushButton::clicked, this, &QDialog::accept);
  auto* v = new QVBoxLayout(this);
  v->addWidget(text, 1);
  v->addWidget(close, 0, Qt::AlignRight);
  resize(fontMetrics().horizontalAdvance(QString(90, 'x')), fontMetrics().height() * 34);
  CenterWindow(this, 2, 2);
}

AboutWindow::AboutWindow(QWidget* parent) : QDialog(parent) {
  setObjectName("Frmabout");
  setWindowTitle("About Ovrin");
  auto* text = new QLabel(
      "<h2>Ovrin</h2><p>Optical Design and Analysis Software<br>Version " OVRIN_VERSION
      "</p><p>Design and analysis of telescopes and other sequential optical systems:<br>"
      "surface tables, glass catalogues, real-ray tracing and first-order data.</p>"
      "<p>Built with Qt " QT_VERSION_STR ".</p>",
      this);
  text->setTextFormat(Qt::RichText);
  auto* ok = new QPushButton("OK", this);
  ok->setObjectName("CmdOK");
  connect(ok, &QPushButton::clicked, this, &QDialog::accept);
  auto* v = new QVBoxLayout(this);
  v->addWidget(RedLine(this, "Line1"));
  v->addWidget(text);
  v->addWidget(RedLine(this, "Line2"));
  v->addWidget(ok, 0, Qt::AlignRight);
  CenterWindow(this, 2, 2);
}

}  // namespace ovrin::shell
