#include "DemoTiles.h"

#include "DemoDatabase.h"

#include <QBuffer>
#include <QImage>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>
#include <QVector>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace demo
{

namespace
{

constexpr double kPi = 3.14159265358979323846;
constexpr double kEquator = 40075016.686; // metres
// The centre of the area in which demo flights start.
constexpr double kLongitude = 113.915;
constexpr double kLatitude = 33.995;

double worldPixels(int zoom)
{
    return kTilePixels * static_cast<double>(1 << zoom);
}

/** Position on the square world map, from 0 to 1, from the north-west corner. */
double worldX(double longitude)
{
    return longitude / 360.0 + 0.5;
}

double worldY(double latitude)
{
    return 0.5 - std::atanh(std::sin(latitude * kPi / 180.0)) / (2.0 * kPi);
}

double latitudeAt(double y)
{
    return std::atan(std::sinh((0.5 - y) * 2.0 * kPi)) * 180.0 / kPi;
}

/** Pseudo-random value from 0 to 1 for a corner of a lattice. */
double lattice(int level, std::int64_t column, std::int64_t row)
{
    std::uint64_t bits = static_cast<std::uint64_t>(column) * 0x9E3779B97F4A7C15U
        ^ static_cast<std::uint64_t>(row) * 0xC2B2AE3D27D4EB4FU ^ static_cast<std::uint64_t>(level) << 56;
    bits = (bits ^ bits >> 30) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ bits >> 27) * 0x94D049BB133111EBU;
    return static_cast<double>(bits >> 40) / static_cast<double>(1 << 24);
}

double smooth(double part)
{
    return part * part * (3.0 - 2.0 * part);
}

// The sizes of hills: number of cells across the world (as a power of two) and height in metres.
struct Hills {
    int level;
    double height;
};
constexpr std::array kHills{Hills{10, 260.0}, Hills{12, 170.0}, Hills{13, 110.0},
                            Hills{14, 60.0},  Hills{15, 28.0},  Hills{16, 12.0}};

/** Metres above the sea; hills narrower than four pixels of the zoom level are left out. */
double heightAt(double x, double y, int zoom)
{
    double height = 40.0;
    for (const Hills &hills : kHills) {
        if (hills.level > zoom + 6)
            break;
        const double cells = static_cast<double>(1 << hills.level);
        const double left = std::floor(x * cells);
        const double top = std::floor(y * cells);
        const double right = smooth(x * cells - left);
        const double down = smooth(y * cells - top);
        const auto column = static_cast<std::int64_t>(left);
        const auto row = static_cast<std::int64_t>(top);
        const double upper
            = lattice(hills.level, column, row) * (1.0 - right) + lattice(hills.level, column + 1, row) * right;
        const double lower
            = lattice(hills.level, column, row + 1) * (1.0 - right) + lattice(hills.level, column + 1, row + 1) * right;
        height += hills.height * (upper * (1.0 - down) + lower * down);
    }
    return height;
}

constexpr int kTints = 10;
constexpr int kShades = 5;
constexpr double kTintMetres = 50.0;
constexpr double kContourMetres = 25.0;
constexpr int kContour = kTints * kShades; // one for each tint
constexpr int kGrid = kContour + kTints;
constexpr int kInk = kGrid + 1;
constexpr int kPaper = kInk + 1;

const QVector<QRgb> &palette()
{
    static const QVector<QRgb> colours = [] {
        // From meadow over dry grass to rock.
        constexpr std::array<std::array<int, 3>, 4> kStops{
            {{168, 204, 150}, {214, 220, 164}, {222, 196, 148}, {190, 168, 150}}};
        QVector<QRgb> result;
        const auto tint = [&kStops](int number, double light) {
            const double place = 3.0 * number / (kTints - 1);
            const auto stop = static_cast<std::size_t>(std::min(2.0, std::floor(place)));
            const double part = place - static_cast<double>(stop);
            std::array<int, 3> colour{};
            for (std::size_t i = 0; i < 3; ++i)
                colour[i] = std::min(
                    255, static_cast<int>(light * (kStops[stop][i] * (1.0 - part) + kStops[stop + 1][i] * part)));
            return qRgb(colour[0], colour[1], colour[2]);
        };
        for (int number = 0; number < kTints; ++number)
            for (int shade = 0; shade < kShades; ++shade)
                result.append(tint(number, 0.84 + 0.07 * shade));
        for (int number = 0; number < kTints; ++number)
            result.append(tint(number, 0.72));
        result.append(qRgb(96, 124, 168));
        result.append(qRgb(32, 52, 96));
        result.append(qRgb(244, 246, 238));
        return result;
    }();
    return colours;
}

void paintRelief(QImage &image, int zoom, int column, int row)
{
    constexpr int kSide = kTilePixels + 1;
    const double pixels = worldPixels(zoom);
    QVector<double> heights(kSide * kSide);
    for (int y = 0; y < kSide; ++y)
        for (int x = 0; x < kSide; ++x)
            heights[y * kSide + x]
                = heightAt((column * 256.0 + x + 0.5) / pixels, (row * 256.0 + y + 0.5) / pixels, zoom);

    const double pixelMetres = kEquator * std::cos(kLatitude * kPi / 180.0) / pixels;
    // At low zoom levels the small hills are left out. Stronger shading keeps the relief visible.
    const double steepness = 16.0 * std::max(1.0, std::sqrt(pixelMetres / 10.0)) / pixelMetres;
    for (int y = 0; y < kTilePixels; ++y) {
        uchar *const line = image.scanLine(y);
        for (int x = 0; x < kTilePixels; ++x) {
            const double here = heights.at(y * kSide + x);
            const double right = heights.at(y * kSide + x + 1);
            const double below = heights.at((y + 1) * kSide + x);
            const int tint = std::clamp(static_cast<int>(here / kTintMetres), 0, kTints - 1);
            const double band = std::floor(here / kContourMetres);
            // Contours that are only a few pixels apart would merge into a blot.
            const bool contour = zoom >= 12
                && (band != std::floor(right / kContourMetres) || band != std::floor(below / kContourMetres));
            const double light = steepness * ((right - here) + (below - here)); // from the north-west
            const int shade = std::clamp(static_cast<int>(std::floor(2.5 + light)), 0, kShades - 1);
            line[x] = static_cast<uchar>(contour ? kContour + tint : tint * kShades + shade);
        }
    }
}

// Glyphs of 5 x 7 dots, so that the tiles do not depend on fonts. Each number is one row; its leftmost dot is 16.
struct Glyph {
    char16_t character;
    std::array<int, 7> rows;
};
// clang-format off
constexpr std::array kGlyphs{
    Glyph{u'0', {14, 17, 19, 21, 25, 17, 14}}, Glyph{u'1', { 4, 12,  4,  4,  4,  4, 14}},
    Glyph{u'2', {14, 17,  1,  2,  4,  8, 31}}, Glyph{u'3', {31,  2,  4,  2,  1, 17, 14}},
    Glyph{u'4', { 2,  6, 10, 18, 31,  2,  2}}, Glyph{u'5', {31, 16, 30,  1,  1, 17, 14}},
    Glyph{u'6', { 6,  8, 16, 30, 17, 17, 14}}, Glyph{u'7', {31,  1,  2,  4,  8,  8,  8}},
    Glyph{u'8', {14, 17, 17, 14, 17, 17, 14}}, Glyph{u'9', {14, 17, 17, 15,  1,  2, 12}},
    Glyph{u'.', { 0,  0,  0,  0,  0, 12, 12}}, Glyph{u'\u00b0', {12, 18, 18, 12,  0,  0,  0}},
    Glyph{u'E', {31, 16, 16, 30, 16, 16, 31}}, Glyph{u'N', {17, 17, 25, 21, 19, 17, 17}},
};
// clang-format on

void setPixel(QImage &image, int x, int y, int colour)
{
    if (x >= 0 && x < image.width() && y >= 0 && y < image.height())
        image.scanLine(y)[x] = static_cast<uchar>(colour);
}

void paintText(QImage &image, int left, int top, const QString &text)
{
    const auto paint = [&](int dx, int dy, int colour) {
        int at = left;
        for (const QChar character : text) {
            for (const Glyph &glyph : kGlyphs) {
                if (glyph.character != character.unicode())
                    continue;
                for (std::size_t y = 0; y < glyph.rows.size(); ++y)
                    for (int x = 0; x < 5; ++x)
                        if (glyph.rows[y] & 16 >> x)
                            setPixel(image, at + x + dx, top + static_cast<int>(y) + dy, colour);
            }
            at += 6;
        }
    };
    // A light outline keeps the text readable on every background.
    for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx)
            paint(dx, dy, kPaper);
    paint(0, 0, kInk);
}

/** Steps of the grid in ten-thousandths of a degree, by zoom level from kMinTileZoom: 90 to 300 pixels each. */
constexpr std::array kGridSteps{20000, 10000, 5000, 2500, 2000, 1000, 500, 200, 100, 50};
static_assert(kGridSteps.size() == kMaxTileZoom - kMinTileZoom + 1);

void paintGrid(QImage &image, int zoom, int column, int row)
{
    const double pixels = worldPixels(zoom);
    const int step = kGridSteps[static_cast<std::size_t>(zoom - kMinTileZoom)];
    const double left = column * 256.0;
    const double top = row * 256.0;
    const auto numbers = [step](double from, double to) {
        QVector<int> result;
        for (int number = static_cast<int>(std::floor(from * 1e4 / step)); number * step <= to * 1e4; ++number)
            result.append(number * step);
        return result;
    };
    // A label reaches into the tiles to the right and below.
    constexpr double kLabel = 128.0;
    const QVector<int> longitudes
        = numbers(((left - kLabel) / pixels - 0.5) * 360.0, ((left + kTilePixels) / pixels - 0.5) * 360.0);
    const QVector<int> latitudes
        = numbers(latitudeAt((top + kTilePixels) / pixels), latitudeAt((top - kLabel) / pixels));
    const auto columnOf
        = [&](int number) { return static_cast<int>(std::floor(worldX(number * 1e-4) * pixels - left)); };
    const auto rowOf = [&](int number) { return static_cast<int>(std::floor(worldY(number * 1e-4) * pixels - top)); };
    for (const int longitude : longitudes)
        for (int y = 0; y < kTilePixels; ++y)
            setPixel(image, columnOf(longitude), y, kGrid);
    for (const int latitude : latitudes)
        for (int x = 0; x < kTilePixels; ++x)
            setPixel(image, x, rowOf(latitude), kGrid);
    const auto degrees = [](int number, QChar side) {
        return QString::number(number * 1e-4, 'f', number % 100 == 0 ? 2 : 3) + QChar(0xb0) + side;
    };
    for (const int longitude : longitudes)
        for (const int latitude : latitudes) {
            paintText(image, columnOf(longitude) + 4, rowOf(latitude) + 4, degrees(latitude, QLatin1Char('N')));
            paintText(image, columnOf(longitude) + 4, rowOf(latitude) + 14, degrees(longitude, QLatin1Char('E')));
        }
}

/** Radius of the map at a zoom level, in kilometres. Smaller at high levels, to keep the file small. */
double reachAt(int zoom)
{
    return zoom == 15 ? 4.0 : zoom == 14 ? 8.0 : 16.0;
}

struct Box {
    double west;
    double south;
    double east;
    double north;
};

Box boxAt(int zoom)
{
    const double north = reachAt(zoom) * 360e3 / kEquator;
    const double east = north / std::cos(kLatitude * kPi / 180.0);
    return {kLongitude - east, kLatitude - north, kLongitude + east, kLatitude + north};
}

bool failed(QString *error, const QString &text)
{
    if (error)
        *error = text;
    return false;
}

bool fillTiles(QSqlDatabase &database, QString *error)
{
    QSqlQuery query(database);
    // No journal: when anything fails, the whole file is deleted.
    for (const char *const statement :
         {"PRAGMA journal_mode = OFF", "PRAGMA synchronous = OFF", "CREATE TABLE metadata (name TEXT, value TEXT)",
          "CREATE TABLE tiles (zoom_level INTEGER, tile_column INTEGER, tile_row INTEGER, tile_data BLOB)",
          "CREATE UNIQUE INDEX tile_index ON tiles (zoom_level, tile_column, tile_row)", "BEGIN"})
        if (!query.exec(QLatin1String(statement)))
            return failed(error, query.lastError().text());

    const Box whole = boxAt(kMinTileZoom);
    const auto number = [](double value) { return QString::number(value, 'f', 6); };
    const QVector<QPair<QString, QString>> metadata{
        {QStringLiteral("name"), QStringLiteral("演示地图")},
        {QStringLiteral("description"), QStringLiteral("Invented relief for demonstrations")},
        {QStringLiteral("type"), QStringLiteral("baselayer")},
        {QStringLiteral("version"), QStringLiteral("1")},
        {QStringLiteral("format"), QStringLiteral("png")},
        {QStringLiteral("minzoom"), QString::number(kMinTileZoom)},
        {QStringLiteral("maxzoom"), QString::number(kMaxTileZoom)},
        {QStringLiteral("bounds"),
         QStringList{number(whole.west), number(whole.south), number(whole.east), number(whole.north)}.join(
             QLatin1Char(','))},
        {QStringLiteral("center"),
         QStringList{number(kLongitude), number(kLatitude), QStringLiteral("13")}.join(QLatin1Char(','))}};
    query.prepare(QStringLiteral("INSERT INTO metadata VALUES (?, ?)"));
    for (const auto &entry : metadata) {
        query.bindValue(0, entry.first);
        query.bindValue(1, entry.second);
        if (!query.exec())
            return failed(error, query.lastError().text());
    }

    query.prepare(QStringLiteral("INSERT INTO tiles VALUES (?, ?, ?, ?)"));
    for (int zoom = kMinTileZoom; zoom <= kMaxTileZoom; ++zoom) {
        const Box box = boxAt(zoom);
        const int side = 1 << zoom;
        for (int column = static_cast<int>(worldX(box.west) * side);
             column <= static_cast<int>(worldX(box.east) * side); ++column)
            for (int row = static_cast<int>(worldY(box.north) * side);
                 row <= static_cast<int>(worldY(box.south) * side); ++row) {
                query.bindValue(0, zoom);
                query.bindValue(1, column);
                query.bindValue(2, side - 1 - row); // counted from the south
                query.bindValue(3, makeTile(zoom, column, row));
                if (!query.exec())
                    return failed(error, query.lastError().text());
            }
    }
    return query.exec(QStringLiteral("COMMIT")) || failed(error, query.lastError().text());
}

} // namespace

QByteArray makeTile(int zoom, int column, int row)
{
    QImage image(kTilePixels, kTilePixels, QImage::Format_Indexed8);
    image.setColorTable(palette());
    paintRelief(image, zoom, column, row);
    paintGrid(image, zoom, column, row);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG", 10); // Of 100: a small file is preferred to a fast one.
    return bytes;
}

bool writeTiles(const QString &path, QString *error)
{
    return replaceDatabase(path, fillTiles, error);
}

} // namespace demo
