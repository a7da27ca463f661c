// Drawing of SVGPlotWriter: the layout of the picture, the views' projections, path elements of
// merged points, exact and approximated arcs, the legend and the scale bar.
#include "nc/nc/io/SVGPlotWriter.h"

#include "nc/nc/NCContext.h"
#include "nc/nc/NCTool.h"
#include "nc/nc/io/WriterOutput.h"
#include "util/utility/Debug.h"
#include "util/utility/IOException.h"
#include "util/utility/io/BufferedOutputStream.h"
#include "util/utility/text/Unicode.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <numbers>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Quarn {

using namespace std::string_view_literals;

namespace {

constexpr double Pi = std::numbers::pi;
constexpr double TwoPi = 2.0 * std::numbers::pi;

// Layout, in pixels.
constexpr double Margin = 20.0;
constexpr double HeadingHeight = 40.0; // the drawing area starts below the heading
constexpr double HeadingBaseline = 26.0;
constexpr double LegendWidth = 200.0;
constexpr double LegendTop = 32.0; // the legend's heading
constexpr double LegendRow = 20.0;
constexpr double LegendPadding = 8.0;
constexpr double MinimumLegendRows = 10.0;
constexpr double MinimumAreaHeight = LegendTop + MinimumLegendRows * LegendRow + LegendPadding;
constexpr double BottomHeight = 64.0;
constexpr double MinimumSize = 100.0;
constexpr double MaximumSize = 100000.0;

// Tolerances of the drawing, in pixels: of curves drawn in pieces, and of runs of points drawn as
// one line.
constexpr double ChordTolerance = 0.25;
constexpr double SleeveTolerance = 0.25;
// Curves smaller than this draw as a line.
constexpr double SubPixel = 0.5;
// Beyond this no renderer draws reliably, and numbers stay short.
constexpr double CoordinateLimit = 1e7;
// Larger arcs are drawn in pieces: their centre would lie far outside any picture.
constexpr double MaximumArcRadius = 1e6;
constexpr double MaximumArcPieces = 4096.0;
// Path data of one element beyond which the run goes on in the next: XML parsers limit the length
// of an attribute (libxml2, and so renderers built on it, to 10 MB).
constexpr std::uint64_t MaximumPathData = std::uint64_t(1) << 20;

constexpr std::string_view RapidDashes = "4 3"sv;
constexpr std::uint64_t NoTool = std::uint64_t(1) << 32;
constexpr std::uint64_t NoSection = 0;

// "#rrggbb".
using Colour = std::array<char, 7>;

Colour colourOf(std::uint32_t rgb) noexcept
{
    constexpr char Digits[] = "0123456789abcdef";
    Colour colour {'#'};
    for (int i = 0; i < 6; ++i)
        colour[static_cast<std::size_t>(i + 1)] = Digits[(rgb >> (20 - 4 * i)) & 0xF];
    return colour;
}

// Fixed per movement, so that a movement has its colour in every picture; rapids grey.
constexpr std::array<std::uint32_t, NCStream::MOVEMENT_COUNT> MovementColours = {
    0x888888, // rapid
    0x2ca02c, // lead in
    0x1f77b4, // cutting
    0xff7f0e, // lead out
    0x9467bd, // transition
    0x8c564b, // direct
    0xe377c2, // helix ramp
    0xbcbd22, // profile ramp
    0x17becf, // zigzag ramp
    0xd62728, // ramp
    0xb8860b, // plunge
    0x006400, // predrill
    0x4b0082, // extended
    0x008080, // reduced
    0x000080, // finish cutting
    0xc71585, // high feed
    0xa0522d, // depositing
    0x6b8e23, // connection
    0xdc143c, // drill breakthrough
    0x2f4f4f, // gun drill positioning
    0xff1493, // guided lead
    0x696969, // guided rapid
};

// Colours of tools and sections in order of first use: ten that are told apart easily, then hues
// a golden angle apart.
Colour paletteColour(std::uint64_t ordinal) noexcept
{
    constexpr std::uint32_t Palette[]
        = {0x1f77b4, 0xd62728, 0x2ca02c, 0xff7f0e, 0x9467bd, 0x8c564b, 0xe377c2, 0x17becf, 0xbcbd22, 0x393b79};
    constexpr std::size_t Fixed = std::size(Palette);
    if (ordinal < Fixed)
        return colourOf(Palette[ordinal]);
    // HSL with saturation 0.65 and lightness 0.42.
    double const hue = std::fmod(15.0 + 137.50776 * static_cast<double>(ordinal - Fixed), 360.0) / 60.0;
    double const chroma = (1.0 - std::abs(2.0 * 0.42 - 1.0)) * 0.65;
    double const second = chroma * (1.0 - std::abs(std::fmod(hue, 2.0) - 1.0));
    double const base = 0.42 - chroma / 2.0;
    double rgb[3] = {};
    int const sector = static_cast<int>(hue) % 6;
    // Per sector of 60 degrees: which component takes the chroma, which the second largest value.
    constexpr int Order[6][3] = {{0, 1, 2}, {1, 0, 2}, {1, 2, 0}, {2, 1, 0}, {2, 0, 1}, {0, 2, 1}};
    rgb[Order[sector][0]] = chroma;
    rgb[Order[sector][1]] = second;
    std::uint32_t value = 0;
    for (double const component : rgb)
        value = value << 8 | static_cast<std::uint32_t>(std::lround((component + base) * 255.0));
    return colourOf(value);
}

// Appends value with one decimal, clamped to the coordinate limit; "12" rather than "12.0", and
// never "-0".
char* formatNumber(char* out, double value) noexcept
{
    value = std::isnan(value) ? 0.0 : std::clamp(value, -CoordinateLimit, CoordinateLimit);
    long long tenths = std::llround(value * 10.0);
    if (tenths < 0) {
        *out++ = '-';
        tenths = -tenths;
    }
    out = std::to_chars(out, out + 16, tenths / 10).ptr;
    if (long long const digit = tenths % 10) {
        *out++ = '.';
        *out++ = static_cast<char>('0' + digit);
    }
    return out;
}

// Appends UTF-8 text escaped for XML; malformed sequences and characters XML 1.0 does not allow
// become U+FFFD, so that any title gives a well-formed document.
void appendEscaped(std::string& out, std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        char32_t const c = Unicode::nextCodePoint(text, at);
        switch (c) {
        case U'&':
            out += "&amp;"sv;
            break;
        case U'<':
            out += "&lt;"sv;
            break;
        case U'>':
            out += "&gt;"sv;
            break;
        case U'"':
            out += "&quot;"sv;
            break;
        case U'\'':
            out += "&apos;"sv;
            break;
        default:
            bool const forbidden = (c < 0x20 && c != U'\t' && c != U'\n' && c != U'\r') || c == 0xFFFE || c == 0xFFFF;
            Unicode::appendCodePoint(out, forbidden ? Unicode::Replacement : c);
        }
    }
}

// "%g" with six digits: the extent's dimensions.
void appendDimension(std::string& out, double value)
{
    char text[32];
    out.append(text, std::to_chars(text, text + sizeof text, value, std::chars_format::general, 6).ptr);
}

// The scale bar's length m 10^exponent as text, without rounding noise: "20", "0.005", "1e-20".
std::string roundLengthText(int mantissa, int exponent)
{
    std::string text;
    if (exponent >= 0 && exponent <= 15) {
        text += static_cast<char>('0' + mantissa);
        text.append(static_cast<std::size_t>(exponent), '0');
    } else if (exponent < 0 && exponent >= -15) {
        text = "0.";
        text.append(static_cast<std::size_t>(-exponent - 1), '0');
        text += static_cast<char>('0' + mantissa);
    } else {
        text += static_cast<char>('0' + mantissa);
        text += 'e';
        text += std::to_string(exponent);
    }
    return text;
}

struct Pixel {
    double x = 0.0;
    double y = 0.0;
};

// The directions from an anchor along which one straight line passes within SleeveTolerance of
// every point added since the anchor: a run of points is drawn as one line while each next
// point's direction stays inside, at a constant cost per point whatever the run's length. Each
// point at distance d narrows the cone to its own direction +- asin(tolerance / d); a point
// nearer the anchor than the farthest one by more than the tolerance ends the run, so that a
// path that turns back is not cut short.
class Sleeve {
public:
    void reset() noexcept
    {
        cone = false;
        reach = 0.0;
    }

    // True when the line from anchor to point passes near every point added since the reset.
    bool admits(Pixel const& anchor, Pixel const& point) const noexcept
    {
        double const dx = point.x - anchor.x, dy = point.y - anchor.y;
        double const d = std::sqrt(dx * dx + dy * dy);
        if (d <= SleeveTolerance)
            return reach <= SleeveTolerance;
        if (d + SleeveTolerance < reach)
            return false;
        if (!cone)
            return true;
        double const angle = std::atan2(referenceX * dy - referenceY * dx, referenceX * dx + referenceY * dy);
        return lower <= angle && angle <= upper;
    }

    void add(Pixel const& anchor, Pixel const& point) noexcept
    {
        double const dx = point.x - anchor.x, dy = point.y - anchor.y;
        double const d = std::sqrt(dx * dx + dy * dy);
        reach = std::max(reach, d);
        if (!(d > SleeveTolerance))
            return;
        double angle = 0.0;
        if (!cone) {
            referenceX = dx / d;
            referenceY = dy / d;
            lower = -std::numbers::pi;
            upper = std::numbers::pi;
            cone = true;
        } else {
            angle = std::atan2(referenceX * dy - referenceY * dx, referenceX * dx + referenceY * dy);
        }
        double const half = std::asin(SleeveTolerance / d);
        lower = std::max(lower, angle - half);
        upper = std::min(upper, angle + half);
    }

private:
    bool cone = false; // whether a point beyond the tolerance set the reference direction
    double referenceX = 1.0, referenceY = 0.0;
    double lower = 0.0, upper = 0.0; // the cone, in radians from the reference direction
    double reach = 0.0; // the distance of the farthest point
};

// True when the two pixels write as the same text (formatNumber's tenths).
bool sameText(Pixel const& a, Pixel const& b) noexcept
{
    auto const tenths = [](double value) {
        return std::llround((std::isnan(value) ? 0.0 : std::clamp(value, -CoordinateLimit, CoordinateLimit)) * 10.0);
    };
    return tenths(a.x) == tenths(b.x) && tenths(a.y) == tenths(b.y);
}

// The screen axes of a view in model coordinates (screen y up).
struct ViewAxes {
    Vector3D right;
    Vector3D up;
    std::string_view name;
};

ViewAxes axesOf(SVGPlotWriter::View view) noexcept
{
    constexpr double Cos30 = 0.86602540378443864676;
    switch (view) {
    case SVGPlotWriter::View::FRONT:
        return {{1.0, 0.0, 0.0}, {0.0, 0.0, 1.0}, "front view"sv};
    case SVGPlotWriter::View::SIDE:
        return {{0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}, "side view"sv};
    case SVGPlotWriter::View::ISO:
        return {{Cos30, Cos30, 0.0}, {-0.5, 0.5, 1.0}, "isometric view"sv};
    default:
        return {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, "top view"sv};
    }
}

} // namespace

class SVGPlotWriter::Drawing {
public:
    Drawing(SVGPlotWriter const& writer, OutputStream* output, Counts& counts);

    // Runs write; a failure of the output says what could not be written, at the offset where the
    // writing started.
    template <class Write> void guarded(wchar_t const* what, Write const& write)
    {
        std::uint64_t const start = out.getPosition();
        try {
            write();
        } catch (IOException const& e) {
            WriterOutput::fail(what, start, e);
        }
    }

    void writeStart(std::string_view title);
    // Completes the document and flushes the output.
    void finish();

    void setContext(NCUnit::Unit unit);
    void setTool(unsigned int number) noexcept { toolKey = number; }
    void beginSection();
    void endSection();

    void line(Vector3D const& end, bool rapid, unsigned int movement);
    // sense > 0 counter-clockwise about normal from the last end, < 0 clockwise, 0 by sweep.
    void arc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, int sense, double sweep, bool circle,
        unsigned int movement);
    void curve(Vector3D const& control1, Vector3D const& control2, Vector3D const& end, unsigned int movement);
    void polygon(Vector3D const* points, unsigned int count, unsigned int movement);

private:
    struct Style {
        std::uint64_t key = 0; // movement, tool or section by the colouring
        bool dashed = false;
        friend bool operator==(Style const&, Style const&) = default;
    };
    struct Entry {
        std::string label;
        Colour colour;
        bool dashed = false;
    };
    // An arc, helix or spiral as NCBoundingBox describes it: about level in the plane of u and v
    // from radius r0 to r1, rising by height along n, through the signed sweep.
    struct Arc {
        Vector3D level, u, v, n;
        double r0 = 0.0, r1 = 0.0, height = 0.0, sweep = 0.0;
    };

    void put(std::string_view text) { out.writeBytes(text.data(), text.size()); }
    void putNumber(double value)
    {
        char text[24];
        out.writeBytes(text, static_cast<std::size_t>(formatNumber(text, value) - text));
    }
    // ` name="value"`.
    void putAttribute(std::string_view name, double value);
    void putColour(Colour const& colour) { out.writeBytes(colour.data(), colour.size()); }

    // The pixel of a model point; false when it is not finite.
    bool project(Vector3D const& point, Pixel& pixel) const noexcept
    {
        double const x = originX + rowX.dot(point), y = originY + rowY.dot(point);
        if (std::isnan(x) || std::isnan(y))
            return false;
        pixel = {std::clamp(x, -CoordinateLimit, CoordinateLimit), std::clamp(y, -CoordinateLimit, CoordinateLimit)};
        return true;
    }
    Style styleOf(bool rapid, unsigned int movement) const noexcept;
    Colour const& colourFor(std::uint64_t key);
    void addEntry(std::string label, Colour const& colour, bool dashed);

    // The position becomes end at pixel without drawing.
    void place(Vector3D const& end, Pixel const& pixel) noexcept
    {
        position = end;
        here = pixel;
        havePosition = true;
    }
    // Continues the path to pixel, merging it when it is close to the last written point.
    void lineTo(Pixel const& pixel, Style const& style);
    // A curve drawn as one straight piece to end.
    void straight(Vector3D const& end, Pixel const& pixel, Style const& style);
    // Makes sure a path of style is open with its last point written, for a command that starts
    // at the current point.
    void openAt(Style const& style);
    void openPath(Style const& style);
    void endPath();
    void writeLine(Pixel const& pixel);
    void writeArc(double radius, bool large, bool sweep, Pixel const& pixel);
    // Ends a path element that has grown too long; the next point starts another at the last.
    void limitPath()
    {
        if (out.getPosition() - pathStart > MaximumPathData)
            endPath();
    }

    void drawExact(Arc const& arc, Pixel const& center, Pixel const& target, Style const& style);
    void drawPieces(Arc const& arc, Pixel const& target, Style const& style);

    void writeLegend();
    void writeScale();

    BufferedOutputStream out;
    Counts& counts;
    Coloring coloring;
    NCUnit::Unit unit;
    NCBoundingBox::Box extent;
    ViewAxes axes;
    Vector3D toward; // unit vector from the picture to the viewer

    // Layout.
    bool usable = false; // the extent gives a scale
    double size;
    double scale = 1.0; // pixels per unit of the extent
    double width = 0.0, height = 0.0; // of the document
    double areaHeight = MinimumAreaHeight;
    double extentLeft = 0.0, extentTop = 0.0, extentWidth = 0.0, extentHeight = 0.0;
    double originX = 0.0, originY = 0.0;
    std::size_t legendRows = 0;

    // The projection of the current context: pixel = origin + (rowX . p, rowY . p).
    Vector3D rowX, rowY;
    double pixelsPerUnit = 1.0;

    // The position in the current context's frame, and its pixel.
    bool havePosition = false;
    Vector3D position;
    Pixel here;

    // The open path element.
    bool pathOpen = false;
    Style pathStyle;
    Pixel last; // the last point written
    std::uint64_t pathStart = 0; // where the element starts in the output
    bool pending = false; // here is not written yet
    Sleeve sleeve; // of the points since last
    std::uint64_t pathPoints = 0; // points written into the open element
    char command = 'M'; // the last command written, which the next may repeat implicitly

    std::uint64_t toolKey = NoTool;
    std::uint64_t sectionKey = NoSection;
    std::uint64_t sectionIndex = 0;

    // Legend: the first legendRows entries in order of first use, and how many there are.
    std::vector<Entry> entries;
    std::uint64_t entryCount = 0;
    std::array<bool, MOVEMENT_COUNT> movementSeen {};
    std::unordered_map<std::uint64_t, std::uint64_t> toolOrdinals;
    std::optional<std::uint64_t> noSectionOrdinal;
    std::uint64_t cachedKey = ~std::uint64_t(0);
    Colour cachedColour {};
    bool rapidsDrawn = false;
};

SVGPlotWriter::Drawing::Drawing(SVGPlotWriter const& writer, OutputStream* output, Counts& counts)
    : out(output, WriterOutput::BufferSize),
      counts(counts),
      coloring(writer.coloring),
      unit(writer.extentUnit),
      extent(writer.extent),
      axes(axesOf(writer.view)),
      toward(axes.right.cross(axes.up).getNormalized()),
      size(writer.size)
{
    double minX = 0.0, maxX = 0.0, minY = 0.0, maxY = 0.0;
    if (!extent.isEmpty() && extent.lower.isFinite() && extent.upper.isFinite()) {
        minX = minY = NCBoundingBox::Box::Infinity;
        maxX = maxY = -NCBoundingBox::Box::Infinity;
        for (int corner = 0; corner < 8; ++corner) {
            Vector3D const p((corner & 1) ? extent.upper.x : extent.lower.x,
                (corner & 2) ? extent.upper.y : extent.lower.y, (corner & 4) ? extent.upper.z : extent.lower.z);
            double const x = axes.right.dot(p), y = axes.up.dot(p);
            minX = std::min(minX, x);
            maxX = std::max(maxX, x);
            minY = std::min(minY, y);
            maxY = std::max(maxY, y);
        }
        double span = std::max(maxX - minX, maxY - minY);
        // A single point has no span: it is drawn in the middle of a picture one unit wide.
        if (!(span > 0.0))
            span = 1.0;
        scale = size / span;
        usable = std::isfinite(span) && std::isfinite(scale) && scale > 0.0;
    }
    if (usable) {
        extentWidth = (maxX - minX) * scale;
        extentHeight = (maxY - minY) * scale;
    }
    areaHeight = std::max(extentHeight, MinimumAreaHeight);
    extentLeft = Margin + (size - extentWidth) / 2.0;
    extentTop = HeadingHeight + (areaHeight - extentHeight) / 2.0;
    originX = extentLeft - minX * scale;
    originY = extentTop + maxY * scale;
    usable = usable && std::isfinite(originX) && std::isfinite(originY);
    width = size + 3.0 * Margin + LegendWidth;
    height = HeadingHeight + areaHeight + BottomHeight;
    legendRows = static_cast<std::size_t>((areaHeight - LegendTop - LegendPadding) / LegendRow);
    setContext(unit);
}

void SVGPlotWriter::Drawing::putAttribute(std::string_view name, double value)
{
    put(" "sv);
    put(name);
    put("=\""sv);
    putNumber(value);
    put("\""sv);
}

void SVGPlotWriter::Drawing::writeStart(std::string_view title)
{
    std::string heading;
    appendEscaped(heading, title);
    put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\""sv);
    putAttribute("width"sv, width);
    putAttribute("height"sv, height);
    put(" viewBox=\"0 0 "sv);
    putNumber(width);
    put(" "sv);
    putNumber(height);
    put("\">\n"sv);
    if (!heading.empty()) {
        put("<title>"sv);
        put(heading);
        put("</title>\n"sv);
        heading += " \xE2\x80\x94 "sv; // an em dash before the view
    }
    heading += axes.name;
    put("<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n<text id=\"heading\""sv);
    putAttribute("x"sv, Margin);
    putAttribute("y"sv, HeadingBaseline);
    put(" font-family=\"sans-serif\" font-size=\"16\" fill=\"#222\">"sv);
    put(heading);
    put("</text>\n"sv);
    if (usable) {
        put("<rect id=\"extent\""sv);
        putAttribute("x"sv, extentLeft);
        putAttribute("y"sv, extentTop);
        putAttribute("width"sv, extentWidth);
        putAttribute("height"sv, extentHeight);
        put(" fill=\"none\" stroke=\"#999\" stroke-width=\"0.5\" stroke-dasharray=\"3 3\"/>\n"sv);
    }
    put("<g id=\"drawing\" fill=\"none\" stroke-width=\"1\" stroke-linejoin=\"round\" stroke-linecap=\"round\">\n"sv);
}

void SVGPlotWriter::Drawing::finish()
{
    guarded(L"Cannot write the end of the document", [&] {
        endPath();
        put("</g>\n"sv);
        writeLegend();
        writeScale();
        put("</svg>\n"sv);
    });
    guarded(L"Cannot flush the output", [&] { out.flush(); });
}

void SVGPlotWriter::Drawing::writeLegend()
{
    double const left = Margin + size + Margin;
    put("<g id=\"legend\" font-family=\"sans-serif\" font-size=\"12\" fill=\"#222\">\n<rect"sv);
    putAttribute("x"sv, left);
    putAttribute("y"sv, HeadingHeight);
    putAttribute("width"sv, LegendWidth);
    putAttribute("height"sv, areaHeight);
    put(" fill=\"#f7f7f7\" stroke=\"#ccc\"/>\n<text"sv);
    putAttribute("x"sv, left + 10.0);
    putAttribute("y"sv, HeadingHeight + 20.0);
    put(" font-weight=\"bold\">"sv);
    put(coloring == Coloring::MOVEMENT ? "by movement"sv : coloring == Coloring::TOOL ? "by tool"sv : "by section"sv);
    put("</text>\n"sv);

    bool const rapidRow = coloring != Coloring::MOVEMENT && rapidsDrawn;
    std::size_t const entryRows = legendRows - (rapidRow ? 1 : 0);
    std::size_t const shown = entryCount <= entryRows ? static_cast<std::size_t>(entryCount) : entryRows - 1;
    double y = HeadingHeight + LegendTop;
    auto const row = [&](std::string_view label, Colour const& colour, bool dashed) {
        double const middle = y + LegendRow / 2.0;
        put("<g class=\"entry\"><line"sv);
        putAttribute("x1"sv, left + 10.0);
        putAttribute("y1"sv, middle);
        putAttribute("x2"sv, left + 40.0);
        putAttribute("y2"sv, middle);
        put(" stroke=\""sv);
        putColour(colour);
        put("\" stroke-width=\"2\""sv);
        if (dashed) {
            put(" stroke-dasharray=\""sv);
            put(RapidDashes);
            put("\""sv);
        }
        put("/><text"sv);
        putAttribute("x"sv, left + 48.0);
        putAttribute("y"sv, middle + 4.0);
        put(">"sv);
        put(label);
        put("</text></g>\n"sv);
        y += LegendRow;
    };
    for (std::size_t i = 0; i < shown; ++i)
        row(entries[i].label, entries[i].colour, entries[i].dashed);
    if (shown < entryCount) {
        put("<text class=\"more\""sv);
        putAttribute("x"sv, left + 10.0);
        putAttribute("y"sv, y + LegendRow / 2.0 + 4.0);
        put(">and "sv);
        put(std::to_string(entryCount - shown));
        put(" more</text>\n"sv);
        y += LegendRow;
    }
    if (rapidRow)
        row("rapid"sv, colourOf(0x555555), true);
    put("</g>\n"sv);
}

void SVGPlotWriter::Drawing::writeScale()
{
    std::string_view const unitName = unit == NCUnit::INCHES ? "in"sv : "mm"sv;
    double const top = HeadingHeight + areaHeight;
    std::string text;
    // About a fifth of the picture, rounded down to 1, 2 or 5 times a power of ten.
    double const target = size / 5.0 / scale;
    if (usable && target >= 1e-300 && target <= 1e300) {
        int exponent = static_cast<int>(std::floor(std::log10(target)));
        double power = std::pow(10.0, exponent);
        double mantissa = target / power;
        if (mantissa >= 10.0) {
            ++exponent;
            power *= 10.0;
            mantissa /= 10.0;
        } else if (mantissa < 1.0) {
            --exponent;
            power /= 10.0;
            mantissa *= 10.0;
        }
        int const round = mantissa >= 5.0 ? 5 : mantissa >= 2.0 ? 2 : 1;
        double const x0 = Margin, x1 = Margin + round * power * scale, y = top + 22.0;
        put("<g id=\"scale\" font-family=\"sans-serif\" font-size=\"12\" fill=\"#222\">\n<path d=\"M"sv);
        putNumber(x0);
        put(" "sv);
        putNumber(y - 4.0);
        put(" V"sv);
        putNumber(y + 4.0);
        put(" M"sv);
        putNumber(x0);
        put(" "sv);
        putNumber(y);
        put(" H"sv);
        putNumber(x1);
        put(" M"sv);
        putNumber(x1);
        put(" "sv);
        putNumber(y - 4.0);
        put(" V"sv);
        putNumber(y + 4.0);
        put("\" stroke=\"#222\" stroke-width=\"1.5\" fill=\"none\"/>\n<text"sv);
        putAttribute("x"sv, x1 + 8.0);
        putAttribute("y"sv, y + 4.0);
        put(">"sv);
        put(roundLengthText(round, exponent));
        put(" "sv);
        put(unitName);
        put("</text>\n</g>\n"sv);
    }
    if (extent.isEmpty()) {
        text = "empty extent";
    } else if (!usable) {
        text = "extent out of range";
    } else {
        Vector3D const dimensions = extent.getSize();
        text = "X ";
        appendDimension(text, dimensions.x);
        text += " x Y ";
        appendDimension(text, dimensions.y);
        text += " x Z ";
        appendDimension(text, dimensions.z);
        text += ' ';
        text += unitName;
    }
    put("<text id=\"dimensions\""sv);
    putAttribute("x"sv, Margin);
    putAttribute("y"sv, top + 50.0);
    put(" font-family=\"sans-serif\" font-size=\"12\" fill=\"#222\">"sv);
    put(text);
    put("</text>\n"sv);
}

// --- Colours and the legend.

SVGPlotWriter::Drawing::Style SVGPlotWriter::Drawing::styleOf(bool rapid, unsigned int movement) const noexcept
{
    switch (coloring) {
    case Coloring::MOVEMENT:
        if (rapid)
            return {MOVEMENT_RAPID, true};
        return {isMovement(movement) && movement != MOVEMENT_RAPID ? movement : MOVEMENT_CUTTING, false};
    case Coloring::TOOL:
        return {toolKey, rapid};
    default:
        return {sectionKey, rapid};
    }
}

void SVGPlotWriter::Drawing::addEntry(std::string label, Colour const& colour, bool dashed)
{
    ++entryCount;
    if (entries.size() < legendRows)
        entries.push_back({std::move(label), colour, dashed});
}

Colour const& SVGPlotWriter::Drawing::colourFor(std::uint64_t key)
{
    if (key == cachedKey)
        return cachedColour;
    switch (coloring) {
    case Coloring::MOVEMENT:
        cachedColour = colourOf(MovementColours[key]);
        if (!movementSeen[key]) {
            movementSeen[key] = true;
            std::string label;
            Unicode::appendUTF8(label, getMovementName(static_cast<std::uint32_t>(key)));
            addEntry(std::move(label), cachedColour, key == MOVEMENT_RAPID);
        }
        break;
    case Coloring::TOOL: {
        auto const [found, added] = toolOrdinals.try_emplace(key, entryCount);
        cachedColour = paletteColour(found->second);
        if (added)
            addEntry(key == NoTool ? std::string("no tool") : "T" + std::to_string(key), cachedColour, false);
        break;
    }
    case Coloring::SECTION:
        if (key == NoSection) {
            if (!noSectionOrdinal) {
                noSectionOrdinal = entryCount;
                addEntry("no section", paletteColour(entryCount), false);
            }
            cachedColour = paletteColour(*noSectionOrdinal);
        } else {
            // A section's key is used in that section only, and the cache holds it until it ends.
            cachedColour = paletteColour(entryCount);
            addEntry("section " + std::to_string(key), cachedColour, false);
        }
        break;
    }
    cachedKey = key;
    return cachedColour;
}

// --- Paths.

void SVGPlotWriter::Drawing::openPath(Style const& style)
{
    Colour const& colour = colourFor(style.key);
    rapidsDrawn = rapidsDrawn || style.dashed;
    pathStart = out.getPosition();
    put("<path stroke=\""sv);
    putColour(colour);
    if (style.dashed) {
        put("\" stroke-dasharray=\""sv);
        put(RapidDashes);
    }
    put("\" d=\"M"sv);
    putNumber(here.x);
    put(" "sv);
    putNumber(here.y);
    pathOpen = true;
    pathStyle = style;
    last = here;
    sleeve.reset();
    pending = false;
    command = 'M';
    pathPoints = 1;
    ++counts.paths;
    ++counts.points;
}

void SVGPlotWriter::Drawing::endPath()
{
    if (!pathOpen)
        return;
    // A cut that never left its first pixel (a drill seen along its axis) shows as a dot of its own
    // colour, wider than the line; a pending end that writes as the last point is left out.
    bool const dot = pathPoints == 1 && !pathStyle.dashed;
    if (pending && (dot || !sameText(here, last)))
        writeLine(here);
    else if (dot)
        writeLine(last);
    pending = false;
    put(dot ? "\" stroke-width=\"4\"/>\n"sv : "\"/>\n"sv);
    pathOpen = false;
}

void SVGPlotWriter::Drawing::openAt(Style const& style)
{
    if (!pathOpen || !(style == pathStyle)) {
        endPath();
        openPath(style);
    } else if (pending) {
        writeLine(here);
        pending = false;
    }
}

void SVGPlotWriter::Drawing::writeLine(Pixel const& pixel)
{
    char text[64];
    char* end = text;
    // Coordinate pairs after an L are lines too.
    if (command == 'L') {
        *end++ = ' ';
    } else {
        std::memcpy(end, " L", 2);
        end += 2;
        command = 'L';
    }
    end = formatNumber(end, pixel.x);
    *end++ = ' ';
    end = formatNumber(end, pixel.y);
    out.writeBytes(text, static_cast<std::size_t>(end - text));
    last = pixel;
    sleeve.reset();
    ++pathPoints;
    ++counts.points;
}

void SVGPlotWriter::Drawing::writeArc(double radius, bool large, bool sweep, Pixel const& pixel)
{
    char text[96];
    char* end = text;
    std::memcpy(end, " A", 2);
    end += 2;
    end = formatNumber(end, radius);
    *end++ = ' ';
    end = formatNumber(end, radius);
    std::memcpy(end, " 0 ", 3);
    end += 3;
    *end++ = large ? '1' : '0';
    *end++ = ' ';
    *end++ = sweep ? '1' : '0';
    *end++ = ' ';
    end = formatNumber(end, pixel.x);
    *end++ = ' ';
    end = formatNumber(end, pixel.y);
    out.writeBytes(text, static_cast<std::size_t>(end - text));
    last = pixel;
    sleeve.reset();
    command = 'A';
    ++pathPoints;
    ++counts.points;
}

void SVGPlotWriter::Drawing::lineTo(Pixel const& pixel, Style const& style)
{
    if (!pathOpen || !(style == pathStyle)) {
        endPath();
        openPath(style);
    }
    // The point waiting to be written is passed over while one line from the last written point
    // still runs near every point since; else it is written and starts the next run.
    if (pending) {
        if (sleeve.admits(last, pixel)) {
            ++counts.merged;
        } else {
            writeLine(here);
            limitPath();
            if (!pathOpen)
                openPath(style);
        }
    }
    sleeve.add(last, pixel);
    here = pixel;
    pending = true;
}

void SVGPlotWriter::Drawing::straight(Vector3D const& end, Pixel const& pixel, Style const& style)
{
    ++counts.approximated;
    lineTo(pixel, style);
    place(end, pixel);
}

// --- Moves.

void SVGPlotWriter::Drawing::setContext(NCUnit::Unit contextUnit)
{
    endPath();
    havePosition = false;
    double const factor = NCUnit::isUnit(contextUnit) && NCUnit::isUnit(unit)
        ? NCUnit::getUnitConversionFactor(contextUnit, unit)
        : 1.0;
    rowX = axes.right * (scale * factor);
    rowY = axes.up * (-scale * factor); // SVG's y grows downwards
    pixelsPerUnit = axes.right.getModulus() * scale * factor;
}

void SVGPlotWriter::Drawing::beginSection()
{
    endPath();
    havePosition = false;
    sectionKey = ++sectionIndex;
}

void SVGPlotWriter::Drawing::endSection()
{
    endPath();
    sectionKey = NoSection;
}

void SVGPlotWriter::Drawing::line(Vector3D const& end, bool rapid, unsigned int movement)
{
    ++counts.moves;
    Pixel pixel;
    if (!usable || !end.isFinite() || !project(end, pixel))
        return;
    if (havePosition)
        lineTo(pixel, styleOf(rapid, movement));
    place(end, pixel);
}

void SVGPlotWriter::Drawing::arc(Vector3D const& center, Vector3D const& end, Vector3D const& normal, int sense,
    double sweep, bool circle, unsigned int movement)
{
    ++counts.moves;
    Pixel target;
    if (!usable || !end.isFinite() || !project(end, target))
        return;
    Style const style = styleOf(false, movement);
    if (!havePosition) {
        // The path starts at the end; a full circle without a start starts there too.
        place(end, target);
        if (!circle)
            return;
    }
    Vector3D const n = normal.getNormalized();
    if (!center.isFinite() || !n.isProper() || (sense == 0 && !(std::isfinite(sweep) && sweep != 0.0))) {
        straight(end, target, style);
        return;
    }
    Arc a;
    a.n = n;
    a.level = center + n * (position - center).dot(n);
    Vector3D const from = position - a.level;
    Vector3D to = end - a.level;
    to -= n * to.dot(n);
    a.r0 = from.getModulus();
    a.r1 = to.getModulus();
    a.height = (end - position).dot(n);
    double const radius = std::max(a.r0, a.r1) * pixelsPerUnit;
    Pixel centre;
    // A start on the axis is a line; an arc of less than a pixel is one too.
    if (!(a.r0 > 0.0) || !std::isfinite(radius) || !std::isfinite(a.height) || radius < SubPixel
        || !project(a.level, centre)) {
        straight(end, target, style);
        return;
    }
    a.u = from / a.r0;
    a.v = n.cross(a.u);
    if (circle) {
        a.sweep = sense < 0 ? -TwoPi : TwoPi;
    } else if (sense != 0) {
        // The angle from the start to the end the named way round, in (0, 2 pi]: an end at the
        // start is a full turn.
        double const s = to.dot(a.v);
        double angle = std::atan2(sense < 0 ? -s : s, to.dot(a.u));
        if (angle <= 1e-12)
            angle += TwoPi;
        a.sweep = sense < 0 ? -angle : angle;
    } else {
        a.sweep = sweep;
    }
    // Seen along its normal the arc is a circle; tilted, its projection leaves the circle by the
    // shortening of the radius across the view and the rise along the normal.
    double const along = n.dot(toward);
    double const deviation = radius * (1.0 - std::abs(along))
        + std::abs(a.height) * pixelsPerUnit * std::sqrt(std::max(0.0, 1.0 - along * along))
        + std::abs(a.r1 - a.r0) * pixelsPerUnit;
    // The centre is projected unclamped: the circle must lie within the coordinate limit.
    double const cx = originX + rowX.dot(a.level), cy = originY + rowY.dot(a.level);
    if (deviation <= ChordTolerance && radius <= MaximumArcRadius && std::abs(cx) + radius <= CoordinateLimit
        && std::abs(cy) + radius <= CoordinateLimit)
        drawExact(a, centre, target, style);
    else
        drawPieces(a, target, style);
    place(end, target);
}

void SVGPlotWriter::Drawing::drawExact(Arc const& a, Pixel const& center, Pixel const& target, Style const& style)
{
    double const radius = a.r0 * pixelsPerUnit;
    double const turn = std::abs(a.sweep);
    double const rest = std::fmod(turn, TwoPi);
    bool full = turn >= TwoPi;
    bool restArc = true;
    if (radius * std::min(rest, TwoPi - rest) < SubPixel) {
        // The end by the sweep is within half a pixel of the start, the short way round: a full
        // circle or nothing, and a renderer would leave out an arc between such close points.
        full = turn > Pi;
        restArc = false;
    } else if (rest <= Pi && radius * (1.0 - std::cos(0.5 * rest)) < ChordTolerance) {
        restArc = false; // bulges less than the tolerance
    }
    if (!full && !restArc) {
        ++counts.approximated;
        lineTo(target, style);
        return;
    }
    openAt(style);
    // SVG's sweep flag 1 turns from +x towards +y of the picture, which is clockwise on the screen:
    // the orientation of the projected (u, v) frame and the sense of the sweep decide it.
    Pixel const u {rowX.dot(a.u), rowY.dot(a.u)}, v {rowX.dot(a.v), rowY.dot(a.v)};
    bool const flag = (u.x * v.y - u.y * v.x > 0.0) == (a.sweep > 0.0);
    if (full) {
        Pixel const start = here;
        writeArc(radius, false, flag, {2.0 * center.x - start.x, 2.0 * center.y - start.y});
        writeArc(radius, false, flag, start);
    }
    Pixel end;
    double const c = std::cos(a.sweep), s = std::sin(a.sweep);
    if (restArc && project(a.level + (a.u * c + a.v * s) * a.r1 + a.n * a.height, end)) {
        writeArc(radius, rest > Pi, flag, end);
        here = end;
    }
    ++counts.arcs;
    // The given end, where a given sweep may not lead exactly.
    lineTo(target, style);
}

void SVGPlotWriter::Drawing::drawPieces(Arc const& a, Pixel const& target, Style const& style)
{
    // The second derivative of the path in pixels per radian squared is at most bound, so pieces of
    // angle d stay within bound d^2 / 8 of it.
    double const turn = std::abs(a.sweep);
    double const bound = pixelsPerUnit * (std::max(a.r0, a.r1) + 2.0 * std::abs(a.r1 - a.r0) / turn);
    double const wanted = std::ceil(turn / std::sqrt(8.0 * ChordTolerance / bound));
    int const pieces = wanted >= MaximumArcPieces ? static_cast<int>(MaximumArcPieces)
                                                  : (wanted > 1.0 ? static_cast<int>(wanted) : 1);
    ++counts.approximated;
    double const step = a.sweep / pieces, stepCos = std::cos(step), stepSin = std::sin(step);
    double c = 1.0, s = 0.0;
    for (int j = 1; j < pieces; ++j) {
        double const next = c * stepCos - s * stepSin;
        s = s * stepCos + c * stepSin;
        c = next;
        double const f = static_cast<double>(j) / pieces;
        Pixel pixel;
        if (project(a.level + (a.u * c + a.v * s) * (a.r0 + (a.r1 - a.r0) * f) + a.n * (a.height * f), pixel))
            lineTo(pixel, style);
    }
    lineTo(target, style);
}

void SVGPlotWriter::Drawing::curve(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, unsigned int movement)
{
    ++counts.moves;
    Pixel target;
    if (!usable || !end.isFinite() || !project(end, target))
        return;
    Style const style = styleOf(false, movement);
    if (!havePosition) {
        place(end, target);
        return;
    }
    Pixel p1, p2;
    auto const near = [&](Pixel const& p) {
        double const dx = p.x - here.x, dy = p.y - here.y;
        return dx * dx + dy * dy < SubPixel * SubPixel;
    };
    if (!control1.isFinite() || !control2.isFinite() || !project(control1, p1) || !project(control2, p2)
        || (near(p1) && near(p2) && near(target))) {
        straight(end, target, style);
        return;
    }
    openAt(style);
    char text[96];
    char* q = text;
    std::memcpy(q, " C", 2);
    q += 2;
    for (Pixel const* p : {&p1, &p2, &target}) {
        q = formatNumber(q, p->x);
        *q++ = ' ';
        q = formatNumber(q, p->y);
        *q++ = ' ';
    }
    out.writeBytes(text, static_cast<std::size_t>(q - 1 - text));
    last = target;
    command = 'C';
    ++counts.points;
    place(end, target);
    limitPath();
}

void SVGPlotWriter::Drawing::polygon(Vector3D const* points, unsigned int count, unsigned int movement)
{
    ++counts.moves;
    if (!usable || points == nullptr || count == 0)
        return;
    Style const style = styleOf(false, movement);
    ++counts.approximated;
    for (unsigned int i = 0; i < count; ++i) {
        Pixel pixel;
        if (!points[i].isFinite() || !project(points[i], pixel))
            continue;
        if (havePosition)
            lineTo(pixel, style);
        place(points[i], pixel);
    }
}

// --- The writer.

namespace {

constexpr wchar_t const* DrawingFailure = L"Cannot write the drawing";

} // namespace

SVGPlotWriter::SVGPlotWriter(OutputStream* output) : output(output) { QUARN_EXPECTS(output != nullptr); }

SVGPlotWriter::~SVGPlotWriter() = default;

void SVGPlotWriter::setExtent(NCBoundingBox::Box const& box, NCUnit::Unit unit) noexcept
{
    QUARN_EXPECTS(NCUnit::isUnit(unit));
    extent = box;
    extentUnit = NCUnit::isUnit(unit) ? unit : NCUnit::MILLIMETERS;
}

void SVGPlotWriter::setSize(double pixels) noexcept
{
    size = pixels >= MaximumSize ? MaximumSize : (pixels >= MinimumSize ? pixels : MinimumSize);
}

SVGPlotWriter::Drawing* SVGPlotWriter::document()
{
    if (!drawing && !closed)
        onOpen();
    return drawing.get();
}

template <class Step> bool SVGPlotWriter::draw(Step const& step)
{
    if (Drawing* d = document())
        d->guarded(DrawingFailure, [&] { step(*d); });
    return true;
}

bool SVGPlotWriter::onOpen()
{
    if (drawing)
        return true;
    closed = false;
    counts = Counts();
    // Kept even when the start cannot be written: the later events report the failure again.
    drawing = std::make_unique<Drawing>(*this, output, counts);
    drawing->guarded(L"Cannot write the start of the document", [&] { drawing->writeStart(title); });
    return true;
}

bool SVGPlotWriter::onClose()
{
    if (!document())
        return true;
    // Closed even when the output fails: the document is over.
    std::unique_ptr<Drawing> const done = std::move(drawing);
    closed = true;
    done->finish();
    return true;
}

bool SVGPlotWriter::onContext(NCContext const& context)
{
    return draw([&](Drawing& d) { d.setContext(context.getUnit()); });
}

bool SVGPlotWriter::onTool(NCTool const& tool)
{
    if (Drawing* d = document())
        d->setTool(tool.getNumber());
    return true;
}

bool SVGPlotWriter::onSection()
{
    return draw([&](Drawing& d) { d.beginSection(); });
}

bool SVGPlotWriter::onSectionEnd()
{
    return draw([&](Drawing& d) { d.endSection(); });
}

bool SVGPlotWriter::onRapid(Vector3D const& end, unsigned int flags)
{
    return draw([&](Drawing& d) { d.line(end, true, getMovement(flags)); });
}

bool SVGPlotWriter::onRapid5D(Vector3D const& end, Vector3D const&, unsigned int flags) { return onRapid(end, flags); }

bool SVGPlotWriter::onRapid5D(
    Vector3D const& end, Vector3D const&, Vector3D const&, Vector3D const&, unsigned int flags)
{
    return onRapid(end, flags);
}

bool SVGPlotWriter::onLinear(Vector3D const& end, double, unsigned int flags)
{
    return draw([&](Drawing& d) { d.line(end, false, getMovement(flags)); });
}

bool SVGPlotWriter::onLinear5D(Vector3D const& end, Vector3D const&, double feedrate, unsigned int flags)
{
    return onLinear(end, feedrate, flags);
}

bool SVGPlotWriter::onLinear5D(
    Vector3D const& end, Vector3D const&, Vector3D const&, Vector3D const&, double feedrate, unsigned int flags)
{
    return onLinear(end, feedrate, flags);
}

bool SVGPlotWriter::onLinearExtrude(Vector3D const& end, double, double)
{
    return draw([&](Drawing& d) { d.line(end, false, MOVEMENT_DEPOSITING); });
}

bool SVGPlotWriter::onCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double, unsigned int flags)
{
    return draw([&](Drawing& d) { d.arc(center, end, normal, -1, 0.0, false, getMovement(flags)); });
}

bool SVGPlotWriter::onCCWArc(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double, unsigned int flags)
{
    return draw([&](Drawing& d) { d.arc(center, end, normal, 1, 0.0, false, getMovement(flags)); });
}

bool SVGPlotWriter::onCircular(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep, double, unsigned int flags)
{
    return draw([&](Drawing& d) { d.arc(center, end, normal, 0, sweep, false, getMovement(flags)); });
}

bool SVGPlotWriter::onCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double, unsigned int flags)
{
    return draw([&](Drawing& d) { d.arc(center, end, normal, -1, 0.0, true, getMovement(flags)); });
}

bool SVGPlotWriter::onCCWCircle(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double, unsigned int flags)
{
    return draw([&](Drawing& d) { d.arc(center, end, normal, 1, 0.0, true, getMovement(flags)); });
}

bool SVGPlotWriter::onCWArcExtrude(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, double, unsigned int flags)
{
    return onCWArc(center, end, normal, feedrate, flags);
}

bool SVGPlotWriter::onCCWArcExtrude(
    Vector3D const& center, Vector3D const& end, Vector3D const& normal, double feedrate, double, unsigned int flags)
{
    return onCCWArc(center, end, normal, feedrate, flags);
}

bool SVGPlotWriter::onCircularExtrude(Vector3D const& center, Vector3D const& end, Vector3D const& normal, double sweep,
    double feedrate, double, unsigned int flags)
{
    return onCircular(center, end, normal, sweep, feedrate, flags);
}

bool SVGPlotWriter::onSpline(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double, unsigned int flags)
{
    return draw([&](Drawing& d) { d.curve(control1, control2, end, getMovement(flags)); });
}

bool SVGPlotWriter::onBezier(
    Vector3D const& control1, Vector3D const& control2, Vector3D const& end, double, unsigned int flags)
{
    return draw([&](Drawing& d) { d.curve(control1, control2, end, getMovement(flags)); });
}

bool SVGPlotWriter::onNURBS(
    Vector3D const* controlPoints, unsigned int count, double const*, unsigned int, double, unsigned int flags)
{
    return draw([&](Drawing& d) { d.polygon(controlPoints, count, getMovement(flags)); });
}

} // namespace Quarn
