// SVGPlotWriter: every document parses in libxml2, and what it draws is read back from its
// elements and path data: layout, views, exact and approximated arcs, colours and legend,
// merging, bad input, output failures; one document is rendered by rsvg-convert.
#include "nc/nc/io/SVGPlotWriter.h"

#include "nc/nc/NCBoundingBox.h"
#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "tests/util/io/TestStreams.h"
#include "util/utility/io/MemoryOutputStream.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <numbers>
#include <set>
#include <string>
#include <vector>

using namespace Quarn;
using Box = NCBoundingBox::Box;
using View = SVGPlotWriter::View;
using Coloring = SVGPlotWriter::Coloring;

namespace {

constexpr double Pi = std::numbers::pi;
constexpr double Cos30 = 0.86602540378443864676;
double const NaN = std::numeric_limits<double>::quiet_NaN();
Vector3D const Z(0, 0, 1);
// Written coordinates have one decimal.
constexpr double Rounding = 0.051;

unsigned int const Rapid = NCStream::getMovementFlags(NCStream::MOVEMENT_RAPID);
unsigned int const Cutting = NCStream::getMovementFlags(NCStream::MOVEMENT_CUTTING);
unsigned int const LeadIn = NCStream::getMovementFlags(NCStream::MOVEMENT_LEAD_IN);

using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

// One command of path data with its numbers; implicit repeats are separate commands.
struct Command {
    char op = 0;
    std::vector<double> args;
};

struct Pixel {
    double x = 0.0, y = 0.0;
};

struct Path {
    std::string stroke;
    bool dashed = false;
    std::vector<Command> commands;

    Pixel end() const { return {commands.back().args.end()[-2], commands.back().args.back()}; }
    std::size_t count(char op) const
    {
        return static_cast<std::size_t>(
            std::count_if(commands.begin(), commands.end(), [op](Command const& c) { return c.op == op; }));
    }
};

struct Rect {
    double x = 0.0, y = 0.0, width = 0.0, height = 0.0;
};

std::vector<Command> parsePathData(std::string const& d)
{
    std::vector<Command> commands;
    char op = 0;
    std::size_t at = 0;
    auto const arity = [](char c) { return c == 'A' ? 7 : c == 'C' ? 6 : c == 'H' || c == 'V' ? 1 : 2; };
    while (at < d.size()) {
        if (std::isspace(static_cast<unsigned char>(d[at]))) {
            ++at;
            continue;
        }
        if (std::isalpha(static_cast<unsigned char>(d[at])))
            op = d[at++];
        else
            op = op == 'M' ? 'L' : op; // pairs after a move are lines
        Command command {op, {}};
        for (int i = 0; i < arity(op); ++i) {
            while (at < d.size() && std::isspace(static_cast<unsigned char>(d[at])))
                ++at;
            char* end = nullptr;
            command.args.push_back(std::strtod(d.c_str() + at, &end));
            at = static_cast<std::size_t>(end - d.c_str());
        }
        commands.push_back(command);
    }
    return commands;
}

// A document as libxml2 reads it (each error fails the test), with queries in the SVG namespace
// under the prefix s.
struct Svg {
    std::string text;
    Document document {nullptr, &xmlFreeDoc};
    SVGPlotWriter::Counts counts;

    explicit Svg(std::string svg, SVGPlotWriter::Counts const& counts = {}) : text(std::move(svg)), counts(counts)
    {
        std::string errors;
        xmlSetStructuredErrorFunc(
            &errors, [](void* context, xmlErrorPtr error) { *static_cast<std::string*>(context) += error->message; });
        document.reset(xmlReadMemory(text.data(), static_cast<int>(text.size()), "plot.svg", nullptr, XML_PARSE_NONET));
        xmlSetStructuredErrorFunc(nullptr, nullptr);
        EXPECT_TRUE(document && errors.empty()) << errors << "\n" << text.substr(0, 2000);
    }

    std::vector<xmlNodePtr> nodes(char const* expression) const
    {
        std::vector<xmlNodePtr> found;
        if (!document)
            return found;
        std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> context(
            xmlXPathNewContext(document.get()), &xmlXPathFreeContext);
        xmlXPathRegisterNs(context.get(), BAD_CAST "s", BAD_CAST "http://www.w3.org/2000/svg");
        std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)> result(
            xmlXPathEvalExpression(BAD_CAST expression, context.get()), &xmlXPathFreeObject);
        if (result && result->nodesetval)
            for (int i = 0; i < result->nodesetval->nodeNr; ++i)
                found.push_back(result->nodesetval->nodeTab[i]);
        return found;
    }
    static std::string attribute(xmlNodePtr node, char const* name)
    {
        std::unique_ptr<xmlChar, decltype(xmlFree)> value(xmlGetProp(node, BAD_CAST name), xmlFree);
        return value ? reinterpret_cast<char const*>(value.get()) : "";
    }
    static double number(xmlNodePtr node, char const* name) { return std::stod(attribute(node, name)); }
    static std::string content(xmlNodePtr node)
    {
        std::unique_ptr<xmlChar, decltype(xmlFree)> value(xmlNodeGetContent(node), xmlFree);
        return value ? reinterpret_cast<char const*>(value.get()) : "";
    }
    // The text of the only element the expression finds.
    std::string textOf(char const* expression) const
    {
        auto const found = nodes(expression);
        EXPECT_EQ(found.size(), 1u) << expression;
        return found.empty() ? "" : content(found[0]);
    }
    std::vector<std::string> texts(char const* expression) const
    {
        std::vector<std::string> result;
        for (xmlNodePtr node : nodes(expression))
            result.push_back(content(node));
        return result;
    }
    Rect extent() const
    {
        auto const found = nodes("//s:rect[@id='extent']");
        EXPECT_EQ(found.size(), 1u);
        if (found.empty())
            return {};
        return {number(found[0], "x"), number(found[0], "y"), number(found[0], "width"), number(found[0], "height")};
    }
    std::vector<Path> paths() const
    {
        std::vector<Path> result;
        for (xmlNodePtr node : nodes("//s:g[@id='drawing']/s:path"))
            result.push_back({attribute(node, "stroke"), !attribute(node, "stroke-dasharray").empty(),
                parsePathData(attribute(node, "d"))});
        return result;
    }
};

struct Settings {
    View view = View::TOP;
    Coloring coloring = Coloring::MOVEMENT;
    double size = 800.0;
    std::string title;
    NCUnit::Unit unit = NCUnit::MILLIMETERS;

    Settings& withView(View value)
    {
        view = value;
        return *this;
    }
    Settings& withColoring(Coloring value)
    {
        coloring = value;
        return *this;
    }
    Settings& withSize(double value)
    {
        size = value;
        return *this;
    }
    Settings& withTitle(std::string value)
    {
        title = std::move(value);
        return *this;
    }
    Settings& withUnit(NCUnit::Unit value)
    {
        unit = value;
        return *this;
    }
};

using Program = std::function<void(NCStream&)>;

// The document of onOpen, what program sends and onClose, for the extent box.
Svg plot(Box const& box, Settings const& settings, Program const& program)
{
    MemoryOutputStream out;
    SVGPlotWriter writer(&out);
    writer.setExtent(box, settings.unit);
    writer.setView(settings.view);
    writer.setColoring(settings.coloring);
    writer.setSize(settings.size);
    writer.setTitle(settings.title);
    EXPECT_TRUE(writer.onOpen());
    program(writer);
    EXPECT_TRUE(writer.onClose());
    return Svg(out.getData(), writer.getCounts());
}

// The box NCBoundingBox measures for the program, as the command-line tool's first pass does.
Box measure(Program const& program, NCUnit::Unit& unit)
{
    NCStreamDefaultImpl sink;
    NCBoundingBox bounds(&sink);
    bounds.onOpen();
    program(bounds);
    bounds.onClose();
    unit = bounds.getUnit();
    return bounds.getTotal();
}

NCContext contextIn(NCUnit::Unit unit)
{
    NCContext context;
    context.setUnit(unit);
    return context;
}

void section(NCStream& s, unsigned int tool = 1, NCUnit::Unit unit = NCUnit::MILLIMETERS)
{
    s.onContext(contextIn(unit));
    NCTool t;
    t.setNumber(tool);
    s.onTool(t);
    s.onSection();
}

void expectPixel(Pixel const& got, Pixel const& want, std::string const& what = {}, double tolerance = Rounding)
{
    EXPECT_NEAR(got.x, want.x, tolerance) << what;
    EXPECT_NEAR(got.y, want.y, tolerance) << what;
}

// The centre of the SVG arc from `from` by the command (SVG's conversion from end points, with a
// radius too small for the ends scaled up), and its radius.
Pixel arcCentre(Pixel const& from, Command const& c, double* radius = nullptr)
{
    auto const& a = c.args;
    double const hx = (from.x - a[5]) / 2, hy = (from.y - a[6]) / 2;
    double const r = a[0] * std::max(1.0, std::sqrt((hx * hx + hy * hy) / (a[0] * a[0])));
    double const root = std::sqrt(std::max(0.0, (r * r - hx * hx - hy * hy) / (hx * hx + hy * hy)));
    double const sign = (a[3] != a[4]) ? 1.0 : -1.0;
    if (radius)
        *radius = r;
    return {sign * root * hy + (from.x + a[5]) / 2, -sign * root * hx + (from.y + a[6]) / 2};
}

// Points along the path: the ends of lines, and arcs and cubic curves in 64 pieces each.
std::vector<Pixel> samples(Path const& path)
{
    std::vector<Pixel> points;
    Pixel at;
    for (Command const& c : path.commands) {
        auto const& a = c.args;
        if (c.op == 'C') {
            for (int i = 1; i <= 64; ++i) {
                double const t = i / 64.0, s = 1.0 - t;
                points.push_back({s * s * s * at.x + 3 * s * s * t * a[0] + 3 * s * t * t * a[2] + t * t * t * a[4],
                    s * s * s * at.y + 3 * s * s * t * a[1] + 3 * s * t * t * a[3] + t * t * t * a[5]});
            }
        } else if (c.op == 'A') {
            double r = 0;
            Pixel const centre = arcCentre(at, c, &r);
            double const from = std::atan2(at.y - centre.y, at.x - centre.x);
            double sweep = std::atan2(a[6] - centre.y, a[5] - centre.x) - from;
            if (a[4] != 0 && sweep <= 0)
                sweep += 2 * Pi;
            if (a[4] == 0 && sweep >= 0)
                sweep -= 2 * Pi;
            for (int i = 1; i <= 64; ++i)
                points.push_back(
                    {centre.x + r * std::cos(from + sweep * i / 64), centre.y + r * std::sin(from + sweep * i / 64)});
        } else {
            points.push_back({a[0], a[1]});
        }
        at = {a.end()[-2], a.back()};
    }
    return points;
}

} // namespace

TEST(SVGPlotWriter, LaysOutHeadingDrawingLegendAndScale)
{
    Box const part {{0, 0, 0}, {120, 80, 25}};
    Program const program = [](NCStream& s) {
        section(s);
        s.onRapid({0, 0, 25}, Rapid);
        s.onLinear({120, 80, 0}, 100, Cutting);
    };
    Svg const top = plot(part, Settings().withTitle("part.nc"), program);
    auto const root = top.nodes("/s:svg");
    ASSERT_EQ(root.size(), 1u);
    // 800 wide, 800 * 80 / 120 high; the legend's 200 and three margins beside it.
    double const area = 800.0 * 80.0 / 120.0;
    EXPECT_EQ(Svg::attribute(root[0], "width"), "1060");
    EXPECT_NEAR(Svg::number(root[0], "height"), 40 + area + 64, Rounding);
    EXPECT_EQ(Svg::attribute(root[0], "viewBox"), "0 0 1060 " + Svg::attribute(root[0], "height"));
    Rect const frame = top.extent();
    EXPECT_EQ(frame.x, 20);
    EXPECT_EQ(frame.y, 40);
    EXPECT_EQ(frame.width, 800);
    EXPECT_NEAR(frame.height, area, Rounding);
    EXPECT_EQ(top.textOf("/s:svg/s:title"), "part.nc");
    EXPECT_EQ(top.textOf("//s:text[@id='heading']"), "part.nc \xE2\x80\x94 top view");
    auto const legend = top.nodes("//s:g[@id='legend']/s:rect");
    ASSERT_EQ(legend.size(), 1u);
    EXPECT_GE(Svg::number(legend[0], "x"), frame.x + frame.width);
    EXPECT_EQ(top.texts("//s:g[@id='legend']/s:text"), std::vector<std::string> {"by movement"});
    // 120 / 5 rounds down to 20 mm, drawn at 800 / 120 pixels a millimetre.
    EXPECT_EQ(top.textOf("//s:g[@id='scale']/s:text"), "20 mm");
    auto const bar = parsePathData(Svg::attribute(top.nodes("//s:g[@id='scale']/s:path")[0], "d"));
    ASSERT_EQ(bar.size(), 6u);
    EXPECT_NEAR(bar[3].args[0] - bar[2].args[0], 20 * 800.0 / 120.0, Rounding);
    EXPECT_EQ(top.textOf("//s:text[@id='dimensions']"), "X 120 x Y 80 x Z 25 mm");

    // Seen from the front the drawing is flat: the area keeps room for ten legend rows and the
    // drawing sits in its middle.
    Svg const front = plot(part, Settings().withView(View::FRONT), program);
    EXPECT_EQ(Svg::attribute(front.nodes("/s:svg")[0], "height"), "344");
    Rect const flat = front.extent();
    EXPECT_NEAR(flat.height, 800.0 * 25.0 / 120.0, Rounding);
    EXPECT_NEAR(flat.y + flat.height / 2, 40 + 120, Rounding);
    EXPECT_EQ(front.textOf("//s:text[@id='heading']"), "front view");
    EXPECT_TRUE(front.nodes("/s:svg/s:title").empty());

    Svg const inches = plot({{0, 0, 0}, {4, 2, 1.5}}, Settings().withSize(100).withUnit(NCUnit::INCHES), program);
    EXPECT_EQ(inches.textOf("//s:g[@id='scale']/s:text"), "0.5 in");
    EXPECT_EQ(inches.textOf("//s:text[@id='dimensions']"), "X 4 x Y 2 x Z 1.5 in");
    EXPECT_EQ(Svg::attribute(inches.nodes("/s:svg")[0], "width"), "360");
}

TEST(SVGPlotWriter, EachViewMapsModelPointsToTheirPixels)
{
    // Screen offsets from the extent's top left corner in millimetres, for the box below.
    struct Case {
        View view;
        double span; // the larger side of the projected box
        Pixel centre, origin, corner, inside, xEnd;
    };
    double const isoWidth = Cos30 * 160;
    Case const cases[] = {
        {View::TOP, 100, {50, 30}, {0, 60}, {100, 0}, {25, 45}, {100, 60}},
        {View::FRONT, 100, {50, 20}, {0, 40}, {100, 0}, {25, 33}, {100, 40}},
        {View::SIDE, 60, {30, 20}, {0, 40}, {60, 0}, {15, 33}, {0, 40}},
        // Screen x = cos 30 (x + y), screen y = z + (y - x) / 2, from -50 to 70.
        {View::ISO, isoWidth, {Cos30 * 80, 60}, {0, 70}, {isoWidth, 50}, {Cos30 * 40, 68}, {Cos30 * 100, 120}},
    };
    Vector3D const centre(50, 30, 20);
    Vector3D const points[] = {{0, 0, 0}, {100, 60, 40}, {25, 15, 7}, {100, 0, 0}};
    for (Case const& c : cases) {
        Svg const svg = plot({{0, 0, 0}, {100, 60, 40}}, Settings().withView(c.view), [&](NCStream& s) {
            for (Vector3D const& point : points) {
                section(s);
                s.onLinear(centre, 100, Cutting);
                s.onLinear(point, 100, Cutting);
            }
        });
        Rect const frame = svg.extent();
        double const scale = 800.0 / c.span;
        EXPECT_NEAR(std::max(frame.width, frame.height), 800, Rounding);
        auto const paths = svg.paths();
        ASSERT_EQ(paths.size(), 4u);
        Pixel const wanted[] = {c.origin, c.corner, c.inside, c.xEnd};
        for (std::size_t i = 0; i < 4; ++i) {
            std::string const what = "view " + std::to_string(static_cast<int>(c.view)) + " point " + std::to_string(i);
            ASSERT_EQ(paths[i].commands.size(), 2u) << what;
            auto const pixel = [&](Pixel const& p) { return Pixel {frame.x + p.x * scale, frame.y + p.y * scale}; };
            // The extent's corner and the point are both rounded.
            expectPixel({paths[i].commands[0].args[0], paths[i].commands[0].args[1]}, pixel(c.centre), what, 0.11);
            expectPixel(paths[i].end(), pixel(wanted[i]), what, 0.11);
        }
    }
}

TEST(SVGPlotWriter, PathsFillTheExtentOfNCBoundingBoxInEveryView)
{
    // Lines, arcs in and out of the view planes, a helix, a tilted circle, a Bezier curve whose
    // control points lie inside the box, and a section in inches.
    Program const program = [](NCStream& s) {
        section(s);
        s.onRapid({0, 0, 10}, Rapid);
        s.onLinear({30, 0, -5}, 100, Cutting);
        s.onCCWArc({30, 20, -5}, {50, 20, -5}, Z, 100, Cutting);
        s.onCWArc({50, 20, -15}, {50, 20, -25}, {0, 1, 0}, 100, Cutting);
        s.onLinear({60, 40, -25}, 100, Cutting);
        s.onCircular({60, 50, -25}, {60, 40, -10}, Z, 4 * Pi, 100, Cutting);
        s.onCWCircle(Vector3D(60, 40, -10) - Vector3D(1, -1, 0).getNormalized() * 10, {60, 40, -10},
            Vector3D(1, 1, 1).getNormalized(), 100, Cutting);
        s.onBezier({65, 55, -5}, {30, 70, 0}, {20, 70, 5}, 100, Cutting);
        s.onCCWArc({20, 60, 5}, {20, 50, 5}, Z, 100, Cutting);
        s.onSectionEnd();
        section(s, 2, NCUnit::INCHES);
        s.onRapid({0, 0, 0.5}, Rapid);
        s.onCWCircle({0.5, 0, 0.5}, {0, 0, 0.5}, Vector3D(0, -1, 0), 10, Cutting);
        s.onSectionEnd();
    };
    NCUnit::Unit unit = NCUnit::MILLIMETERS;
    Box const box = measure(program, unit);
    for (View view : {View::TOP, View::FRONT, View::SIDE, View::ISO}) {
        Svg const svg = plot(box, Settings().withView(view).withUnit(unit), program);
        std::string const what = "view " + std::to_string(static_cast<int>(view));
        Rect const frame = svg.extent();
        double left = 1e9, right = -1e9, top = 1e9, bottom = -1e9;
        for (Path const& path : svg.paths())
            for (Pixel const& p : samples(path)) {
                left = std::min(left, p.x);
                right = std::max(right, p.x);
                top = std::min(top, p.y);
                bottom = std::max(bottom, p.y);
            }
        // Inside up to the rounding of the numbers; touching up to the tolerance of the pieces
        // of approximated arcs and the merging of points. The isometric frame is the bounding
        // rectangle of the box's corners, which the path need not reach.
        double const inside = 0.2, touch = view == View::ISO ? 1e9 : 1.0;
        EXPECT_GE(left, frame.x - inside) << what;
        EXPECT_LE(right, frame.x + frame.width + inside) << what;
        EXPECT_GE(top, frame.y - inside) << what;
        EXPECT_LE(bottom, frame.y + frame.height + inside) << what;
        EXPECT_LE(left, frame.x + touch) << what;
        EXPECT_GE(right, frame.x + frame.width - touch) << what;
        EXPECT_LE(top, frame.y + touch) << what;
        EXPECT_GE(bottom, frame.y + frame.height - touch) << what;
        EXPECT_EQ(svg.counts.moves, 11u) << what;
    }
}

TEST(SVGPlotWriter, ArcsAlongTheViewAreSVGArcsAndOthersStraightPieces)
{
    enum Kind { CW, CCW, CIRCLE, SWEEP };
    struct Case {
        char const* name;
        View view;
        Kind kind;
        Vector3D normal, start, end;
        double sweep;
        std::size_t arcs; // A commands
        int sweepFlag, largeFlag; // of the first A
    };
    Vector3D const x(10, 0, 0), y(0, 10, 0), z(0, 0, 10);
    Case const cases[] = {
        {"counter-clockwise quarter from above", View::TOP, CCW, Z, x, y, 0, 1, 0, 0},
        {"clockwise three quarters from above", View::TOP, CW, Z, x, y, 0, 1, 1, 1},
        {"counter-clockwise about -z is clockwise from above", View::TOP, CCW, -Z, x, y, 0, 1, 1, 1},
        {"counter-clockwise about -y seen from the front", View::FRONT, CCW, {0, -1, 0}, x, z, 0, 1, 0, 0},
        {"counter-clockwise about +y from behind", View::FRONT, CCW, {0, 1, 0}, x, z, 0, 1, 1, 1},
        {"counter-clockwise about +x seen from the side", View::SIDE, CCW, {1, 0, 0}, y, z, 0, 1, 0, 0},
        {"full circle in two halves", View::TOP, CIRCLE, Z, x, x, 0, 2, 0, 0},
        {"helix of three turns seen along its axis", View::TOP, SWEEP, Z, x, x + Vector3D(0, 0, 30), 6 * Pi, 2, 0, 0},
        {"helix of two and a quarter turns", View::TOP, SWEEP, Z, x, y + Vector3D(0, 0, 20), 4.5 * Pi, 3, 0, 0},
        {"arc seen edge on", View::TOP, CCW, {0, -1, 0}, x, z, 0, 0, 0, 0},
        {"arc on a tilted plane", View::TOP, CCW, Vector3D(0, 0.6, 0.8), x, -x, 0, 0, 0, 0},
        {"spiral", View::TOP, CCW, Z, x, y * 2, 0, 0, 0, 0},
    };
    for (Case const& c : cases) {
        Svg const svg = plot({{-50, -50, -50}, {50, 50, 50}}, Settings().withView(c.view), [&](NCStream& s) {
            section(s);
            s.onRapid(c.start, Rapid);
            if (c.kind == CW)
                s.onCWArc({0, 0, 0}, c.end, c.normal, 100, Cutting);
            else if (c.kind == CCW)
                s.onCCWArc({0, 0, 0}, c.end, c.normal, 100, Cutting);
            else if (c.kind == CIRCLE)
                s.onCCWCircle({0, 0, 0}, c.end, c.normal, 100, Cutting);
            else
                s.onCircular({0, 0, 0}, c.end, c.normal, c.sweep, 100, Cutting);
        });
        auto const paths = svg.paths();
        ASSERT_EQ(paths.size(), 1u) << c.name;
        Path const& path = paths[0];
        EXPECT_EQ(path.count('A'), c.arcs) << c.name;
        EXPECT_EQ(svg.counts.arcs, c.arcs != 0 ? 1u : 0u) << c.name;
        EXPECT_EQ(svg.counts.approximated, c.arcs != 0 ? 0u : 1u) << c.name;
        // 8 pixels a millimetre; the centre in the middle of the extent.
        Rect const frame = svg.extent();
        Pixel const centre {frame.x + 400, frame.y + 400};
        Pixel at {path.commands[0].args[0], path.commands[0].args[1]};
        if (c.arcs == 0) {
            // Seen edge on, the arc is the line it projects to; otherwise straight pieces.
            if (c.normal.dot(Z) == 0)
                EXPECT_EQ(path.count('L'), 1u) << c.name;
            else
                EXPECT_GT(path.count('L'), 4u) << c.name;
            continue;
        }
        Command const& first = path.commands[1];
        ASSERT_EQ(first.op, 'A') << c.name;
        EXPECT_NEAR(first.args[0], 80, Rounding) << c.name;
        EXPECT_EQ(first.args[0], first.args[1]) << c.name;
        EXPECT_EQ(first.args[3], c.largeFlag) << c.name;
        EXPECT_EQ(first.args[4], c.sweepFlag) << c.name;
        for (Command const& command : path.commands) {
            if (command.op == 'A') {
                EXPECT_EQ(command.args[4], c.sweepFlag) << c.name;
                expectPixel(arcCentre(at, command), centre, c.name, 0.2);
            }
            at = {command.args.end()[-2], command.args.back()};
        }
    }
}

TEST(SVGPlotWriter, RapidsAreDashedAndColoursFollowTheColouring)
{
    Program const program = [](NCStream& s) {
        section(s, 1);
        s.onRapid({0, 0, 10}, Rapid);
        s.onRapid({10, 0, 10}, Rapid);
        s.onLinear({10, 0, 0}, 100, Cutting);
        s.onLinear({20, 0, 0}, 100, LeadIn);
        s.onLinear({20, 10, 0}, 100, Cutting);
        s.onRapid({20, 10, 10}, Rapid);
        s.onSectionEnd();
        section(s, 2);
        s.onRapid({30, 30, 10}, Rapid);
        s.onLinear({0, 30, 0}, 100, Cutting);
        s.onSectionEnd();
    };
    Box const box {{0, 0, 0}, {30, 30, 10}};
    struct Case {
        Coloring coloring;
        std::vector<std::string> legend;
        std::vector<std::string> strokes; // the paths' colours as names in the legend
    };
    Case const cases[] = {
        // Seen from the front the last cut of the first section stays on one pixel: a dot.
        {Coloring::MOVEMENT, {"rapid", "cutting", "lead_in"},
            {"rapid", "cutting", "lead_in", "cutting", "rapid", "cutting"}},
        {Coloring::TOOL, {"T1", "T2", "rapid"}, {"T1", "T1", "T1", "T2"}},
        {Coloring::SECTION, {"section 1", "section 2", "rapid"}, {"section 1", "section 1", "section 1", "section 2"}},
    };
    for (Case const& c : cases) {
        Svg const svg = plot(box, Settings().withView(View::FRONT).withColoring(c.coloring), program);
        std::string const what = "colouring " + std::to_string(static_cast<int>(c.coloring));
        EXPECT_EQ(svg.texts("//s:g[@id='legend']/s:g[@class='entry']/s:text"), c.legend) << what;
        // The legend's label of each colour but the sample of dashes: as many colours as labels.
        std::map<std::string, std::string> labels;
        for (xmlNodePtr entry : svg.nodes("//s:g[@id='legend']/s:g[@class='entry']"))
            if (Svg::content(entry) != "rapid" || c.coloring == Coloring::MOVEMENT)
                labels[Svg::attribute(entry->children, "stroke")] = Svg::content(entry);
        EXPECT_EQ(labels.size(), c.legend.size() - (c.coloring == Coloring::MOVEMENT ? 0 : 1)) << what;
        // Movement: one path per run of a style; tool and section: rapids dashed in their colour.
        std::vector<std::string> strokes;
        std::vector<bool> dashed;
        for (Path const& path : svg.paths()) {
            strokes.push_back(labels[path.stroke]);
            dashed.push_back(path.dashed);
        }
        EXPECT_EQ(strokes, c.strokes) << what;
        std::vector<bool> const rapids = c.coloring == Coloring::MOVEMENT
            ? std::vector<bool> {true, false, false, false, true, false}
            : std::vector<bool> {true, false, true, false};
        EXPECT_EQ(dashed, rapids) << what;
        EXPECT_EQ(svg.counts.paths, strokes.size()) << what;
    }

    // More tools than rows: the last row counts the others.
    Svg const many = plot(box, Settings().withColoring(Coloring::TOOL).withSize(100), [](NCStream& s) {
        for (unsigned int tool = 1; tool <= 30; ++tool) {
            section(s, tool);
            s.onLinear({0, 0, 0}, 100, Cutting);
            s.onLinear({30, static_cast<double>(tool), 0}, 100, Cutting);
        }
    });
    auto const rows = many.texts("//s:g[@id='legend']/s:g[@class='entry']/s:text");
    ASSERT_EQ(rows.size(), 9u);
    EXPECT_EQ(rows.front(), "T1");
    EXPECT_EQ(rows.back(), "T9");
    EXPECT_EQ(many.textOf("//s:g[@id='legend']/s:text[@class='more']"), "and 21 more");
    std::set<std::string> strokes;
    for (Path const& path : many.paths())
        strokes.insert(path.stroke);
    EXPECT_EQ(strokes.size(), 30u);
}

// The distance of point from the polyline through points.
double distanceToPolyline(Pixel const& point, std::vector<Pixel> const& points)
{
    double best = std::numeric_limits<double>::infinity();
    for (std::size_t i = 1; i < points.size(); ++i) {
        Pixel const& a = points[i - 1];
        Pixel const& b = points[i];
        double const dx = b.x - a.x, dy = b.y - a.y, length2 = dx * dx + dy * dy;
        double t = length2 > 0 ? ((point.x - a.x) * dx + (point.y - a.y) * dy) / length2 : 0.0;
        t = std::clamp(t, 0.0, 1.0);
        best = std::min(best, std::hypot(point.x - a.x - t * dx, point.y - a.y - t * dy));
    }
    return best;
}

TEST(SVGPlotWriter, TinyMovesAlongACurveKeepTheirShapeInFewPoints)
{
    // A circle of radius 40 (320 pixels) in 100000 straight moves, and back out along a wave.
    auto const circle = [](int i) {
        double const t = 2 * Pi * i / 100000;
        return Vector3D(50 + 40 * std::cos(t), 50 + 40 * std::sin(t), 0);
    };
    auto const wave = [](int i) { return Vector3D(10 + i * 8e-4, 50 + 5 * std::sin(i * 1e-3), 0); };
    Svg const svg = plot({{0, 0, 0}, {100, 100, 0}}, Settings(), [&](NCStream& s) {
        section(s);
        for (int i = 0; i <= 100000; ++i)
            s.onLinear(circle(i), 100, Cutting);
        for (int i = 0; i <= 100000; ++i)
            s.onLinear(wave(i), 100, Cutting);
    });
    auto const paths = svg.paths();
    ASSERT_EQ(paths.size(), 1u);
    std::vector<Pixel> drawn;
    for (Command const& command : paths[0].commands)
        drawn.push_back({command.args[0], command.args[1]});
    EXPECT_LT(drawn.size(), 1000u);
    // Every move's end lies within a third of a pixel of the drawing (a quarter, and the rounding).
    Rect const frame = svg.extent();
    auto const pixelOf = [&](Vector3D const& p) { return Pixel {frame.x + 8 * p.x, frame.y + frame.height - 8 * p.y}; };
    double worst = 0;
    for (int i = 0; i <= 100000; i += 7) {
        worst = std::max(worst, distanceToPolyline(pixelOf(circle(i)), drawn));
        worst = std::max(worst, distanceToPolyline(pixelOf(wave(i)), drawn));
    }
    EXPECT_LT(worst, 0.36);
    expectPixel(drawn.back(), pixelOf(wave(100000)));
}

TEST(SVGPlotWriter, TinyMovesMergeAndEachRunEndsExactly)
{
    // 100000 moves of a micrometre that zigzag by a hundredth of a millimetre (a tenth of a
    // pixel): one line of 800 pixels.
    Svg const svg = plot({{0, 0, 0}, {100, 50, 10}}, Settings(), [](NCStream& s) {
        section(s);
        s.onRapid({0, 0, 10}, Rapid);
        s.onLinear({0, 0, 0}, 100, Cutting);
        for (int i = 1; i <= 100000; ++i)
            s.onLinear({i * 0.001, (i % 2) * 0.01, 0}, 100, Cutting);
        s.onLinear({100, 0.003, 0}, 100, Cutting);
        s.onRapid({100, 50, 10}, Rapid);
        // A drilled hole seen from above stays on one pixel: a dot.
        s.onLinear({100, 50, 0}, 100, Cutting);
        s.onLinear({100, 50, 10}, 100, Cutting);
    });
    auto const paths = svg.paths();
    ASSERT_EQ(paths.size(), 3u);
    Rect const frame = svg.extent();
    Path const& cut = paths[0];
    EXPECT_LE(cut.commands.size(), 3u);
    expectPixel(cut.end(), {frame.x + 800, frame.y + frame.height - 0.024});
    EXPECT_EQ(svg.counts.moves, 100006u);
    // Every move is written or merged once; each path but the first starts at a written end.
    EXPECT_EQ(svg.counts.points + svg.counts.merged, svg.counts.moves + paths.size() - 1);
    Path const& hole = paths[2];
    ASSERT_EQ(hole.commands.size(), 2u);
    expectPixel(hole.end(), {frame.x + 800, frame.y});
    expectPixel({hole.commands[0].args[0], hole.commands[0].args[1]}, hole.end());
}

TEST(SVGPlotWriter, LongRunsGoOnInElementsAParserAccepts)
{
    // 200000 zigzags of 800 pixels: far more path data than one attribute may hold.
    Svg const svg = plot({{0, 0, 0}, {100, 100, 0}}, Settings(), [](NCStream& s) {
        section(s);
        for (int i = 0; i <= 200000; ++i)
            s.onLinear({(i % 2) * 100.0, i * 5e-4, 0}, 100, Cutting);
    });
    auto const paths = svg.paths();
    ASSERT_GE(paths.size(), 2u);
    std::size_t points = 0;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        if (i > 0)
            expectPixel({paths[i].commands[0].args[0], paths[i].commands[0].args[1]}, paths[i - 1].end());
        points += paths[i].commands.size() - (i > 0 ? 1 : 0);
    }
    EXPECT_EQ(points, 200001u);
    for (xmlNodePtr path : svg.nodes("//s:g[@id='drawing']/s:path"))
        EXPECT_LE(Svg::attribute(path, "d").size(), 1100000u);
}

TEST(SVGPlotWriter, NonFiniteInputIsNotDrawn)
{
    double const inf = std::numeric_limits<double>::infinity();
    Vector3D const points[] = {{NaN, 0, 0}, {5, 5, 0}};
    Svg const svg = plot({{0, 0, 0}, {10, 10, 10}}, Settings(), [&](NCStream& s) {
        section(s);
        s.onLinear({0, 0, 0}, 100, Cutting);
        s.onLinear({NaN, 1, 0}, 100, Cutting);
        s.onRapid({inf, 1, 0}, Rapid);
        s.onLinear({10, 0, 0}, 100, Cutting);
        s.onCCWArc({NaN, 0, 0}, {10, 10, 0}, Z, 100, Cutting);
        s.onCWArc({5, 5, 0}, {0, 10, 0}, {NaN, 0, 1}, 100, Cutting);
        s.onCircular({5, 5, 0}, {0, 0, 0}, Z, NaN, 100, Cutting);
        s.onCircular({5, 5, 0}, {0, 0, 0}, Z, inf, 100, Cutting);
        s.onBezier({NaN, 0, 0}, {1, 1, 0}, {2, 2, 0}, 100, Cutting);
        s.onSpline({1, 1, 0}, {2, 2, 0}, {NaN, 3, 0}, 100, Cutting);
        s.onNURBS(points, 2, nullptr, 0, 100, Cutting);
        s.onNURBS(nullptr, 3, nullptr, 0, 100, Cutting);
        s.onLinear({1e300, -1e300, 0}, 100, Cutting);
        s.onCCWArc({1e300, 0, 0}, {0, 0, 0}, Z, 100, Cutting);
    });
    for (Path const& path : svg.paths())
        for (Command const& command : path.commands)
            for (double value : command.args)
                EXPECT_TRUE(std::isfinite(value) && std::abs(value) <= 1e7);
    EXPECT_EQ(svg.text.find("nan"), std::string::npos);
    EXPECT_EQ(svg.text.find("inf"), std::string::npos);
    EXPECT_EQ(svg.counts.moves, 14u);
    auto const paths = svg.paths();
    ASSERT_EQ(paths.size(), 1u);
    // The line after the skipped moves starts at the last drawn point.
    Rect const frame = svg.extent();
    double const bottom = frame.y + frame.height;
    // (2, 2) lies on the line from (0, 0) to (5, 5): merged into it.
    std::vector<Pixel> const wanted {{frame.x, bottom}, {frame.x + 800, bottom}, {frame.x + 800, frame.y},
        {frame.x, frame.y}, {frame.x, bottom}, {frame.x + 400, bottom - 400}, {1e7, 1e7}};
    std::vector<Command> const& commands = paths[0].commands;
    ASSERT_GT(commands.size(), wanted.size());
    for (std::size_t i = 0; i < wanted.size(); ++i)
        expectPixel({commands[i].args[0], commands[i].args[1]}, wanted[i], "point " + std::to_string(i));
    // The arc about a far centre is drawn in pieces, clamped, and ends where it should.
    expectPixel(paths[0].end(), {frame.x, bottom});
    EXPECT_EQ(svg.counts.approximated, 7u);
}

TEST(SVGPlotWriter, TitleIsEscapedAndMadeValidUTF8)
{
    Svg const svg = plot(
        {{0, 0, 0}, {1, 1, 1}}, Settings().withTitle("a<b> & \"c\" 'd' \xC3\x98 \x01 \xFF ]]>"), [](NCStream&) {});
    std::string const text = "a<b> & \"c\" 'd' \xC3\x98 \xEF\xBF\xBD \xEF\xBF\xBD ]]>";
    EXPECT_EQ(svg.textOf("/s:svg/s:title"), text);
    EXPECT_EQ(svg.textOf("//s:text[@id='heading']"), text + " \xE2\x80\x94 top view");
}

TEST(SVGPlotWriter, DegenerateExtentsDrawWithoutDividingByZero)
{
    Program const drill = [](NCStream& s) {
        section(s);
        s.onRapid({5, 5, 10}, Rapid);
        s.onLinear({5, 5, 0}, 100, Cutting);
        s.onLinear({5, 5, 10}, 100, Cutting);
    };
    // A single point: drawn in the middle of the area.
    Svg const point = plot({{5, 5, 0}, {5, 5, 0}}, Settings(), drill);
    Rect const frame = point.extent();
    EXPECT_EQ(frame.width, 0);
    auto const dots = point.paths();
    ASSERT_EQ(dots.size(), 1u);
    expectPixel(dots[0].end(), {420, 40 + 120});
    EXPECT_EQ(point.textOf("//s:text[@id='dimensions']"), "X 0 x Y 0 x Z 0 mm");
    EXPECT_EQ(point.textOf("//s:g[@id='scale']/s:text"), "0.2 mm");

    // A vertical line seen from above and from the front.
    Svg const line = plot({{5, 5, 0}, {5, 5, 10}}, Settings().withView(View::FRONT), drill);
    EXPECT_EQ(line.extent().width, 0);
    EXPECT_EQ(line.extent().height, 800);

    // No extent: the frame of the picture with nothing drawn.
    Svg const empty = plot(Box(), Settings(), drill);
    EXPECT_TRUE(empty.nodes("//s:rect[@id='extent']").empty());
    EXPECT_TRUE(empty.paths().empty());
    EXPECT_TRUE(empty.nodes("//s:g[@id='scale']").empty());
    EXPECT_EQ(empty.textOf("//s:text[@id='dimensions']"), "empty extent");
    EXPECT_EQ(empty.counts.moves, 3u);
}

TEST(SVGPlotWriter, OpensWhenDrawingBeginsAndIgnoresEventsAfterClose)
{
    MemoryOutputStream out;
    SVGPlotWriter writer(&out);
    writer.setExtent({{0, 0, 0}, {10, 10, 0}}, NCUnit::MILLIMETERS);
    EXPECT_TRUE(writer.onLinear({0, 0, 0}, 100, Cutting));
    EXPECT_TRUE(writer.onLinear({10, 10, 0}, 100, Cutting));
    EXPECT_TRUE(writer.onClose());
    std::string const document = out.getData();
    EXPECT_EQ(Svg(document).paths().size(), 1u);
    EXPECT_TRUE(writer.onLinear({0, 10, 0}, 100, Cutting));
    EXPECT_TRUE(writer.onSection());
    EXPECT_TRUE(writer.onClose());
    EXPECT_EQ(out.getData(), document);
    EXPECT_EQ(writer.getCounts().moves, 2u);

    // onOpen starts another document; a second onOpen while it is open changes nothing.
    out.clear();
    EXPECT_TRUE(writer.onOpen());
    EXPECT_TRUE(writer.onOpen());
    EXPECT_TRUE(writer.onClose());
    Svg const next(out.getData());
    EXPECT_TRUE(next.paths().empty());
    EXPECT_EQ(writer.getCounts().moves, 0u);
}

TEST(SVGPlotWriter, OutputFailuresAreIOExceptions)
{
    using TestSupport::FullOutputStream;
    using TestSupport::ioError;
    // A small document stays in the buffer until onClose flushes it.
    FullOutputStream small(100);
    SVGPlotWriter writer(&small);
    writer.onOpen();
    EXPECT_EQ(ioError([&] { writer.onClose(); }).message, L"Cannot flush the output: Disk full.");
    EXPECT_EQ(ioError([&] { writer.onClose(); }).message, L"no exception");

    // A large drawing fills the buffer at a move, and every later move fails the same way.
    FullOutputStream full(1000);
    SVGPlotWriter large(&full);
    large.setExtent({{0, 0, 0}, {100, 100, 0}}, NCUnit::MILLIMETERS);
    large.onOpen();
    TestSupport::IOError error;
    for (int i = 0; i < 1000000 && error.message.empty(); ++i) {
        TestSupport::IOError const e = ioError([&] { large.onLinear({(i % 2) * 100.0, i * 1e-4, 0}, 100, Cutting); });
        if (e.message != L"no exception")
            error = e;
    }
    EXPECT_EQ(error.message, L"Cannot write the drawing: Disk full.");
    ASSERT_TRUE(error.offset.has_value());
    EXPECT_GT(*error.offset, 1000u);
    EXPECT_EQ(ioError([&] {
        large.onLinear({1, 1, 0}, 100, Cutting);
    }).message,
        L"Cannot write the drawing: Disk full.");
    EXPECT_EQ(full.callsAfterFailure, 0u);
}

TEST(SVGPlotWriter, RsvgConvertRendersAPicture)
{
    if (std::system("command -v rsvg-convert > /dev/null 2>&1") != 0)
        GTEST_SKIP() << "rsvg-convert is not installed (Debian package librsvg2-bin): the picture is not rendered";
    Program const program = [](NCStream& s) {
        section(s, 3);
        s.onRapid({0, 0, 10}, Rapid);
        s.onLinear({0, 0, -2}, 100, Cutting);
        s.onCCWArc({20, 0, -2}, {40, 0, -2}, Z, 100, Cutting);
        s.onCircular({30, 0, -2}, {20, 0, -12}, Z, 5 * Pi, 100, Cutting);
        s.onBezier({10, 30, 0}, {30, 30, 0}, {40, 20, 0}, 100, Cutting);
        s.onRapid({40, 20, 10}, Rapid);
        s.onSectionEnd();
    };
    NCUnit::Unit unit = NCUnit::MILLIMETERS;
    Box const box = measure(program, unit);
    Svg const svg = plot(
        box, Settings().withView(View::ISO).withColoring(Coloring::TOOL).withTitle("<demo> & \"plot\""), program);
    TestSupport::TemporaryFile picture, png;
    {
        std::ofstream file(picture.path, std::ios::binary);
        file << svg.text;
    }
    std::string const command
        = "rsvg-convert -o '" + png.path.string() + "' '" + picture.path.string() + "' 2> /dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    EXPECT_EQ(png.contents().substr(0, 8), std::string("\x89PNG\r\n\x1A\n", 8));
}
