#include <QColor>
#include <QDirIterator>
#include <QFile>
#include <QIcon>
#include <QImage>
#include <QPainter>
#include <QSet>
#include <QTest>
#include <QXmlStreamReader>
#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace
{

constexpr const char *kNames[] = {
    ":/Txt(1).ico",
    ":/DVD R.ico",
    ":/Help copy.ico",
    ":/Help-copy.ico",
    ":/setting.ico",
    ":/setting2.ico",
    ":/resources/4.ico",
    ":/resources/setting.ico",
    ":/Corvenne.png",
    ":/EXCEL.svg",
    ":/Excel-black.svg",
    ":/TXT4.svg",
    ":/Txt3.svg",
    ":/add-four.svg",
    ":/add-three.svg",
    ":/aiming.svg",
    ":/analysis.svg",
    ":/book.svg",
    ":/chart-line-area.svg",
    ":/clear.svg",
    ":/delete-two.svg",
    ":/delete.svg",
    ":/folder-open.svg",
    ":/help.svg",
    ":/local.svg",
    ":/map-blue.svg",
    ":/map-draw.svg",
    ":/map.svg",
    ":/math-black.svg",
    ":/math-blue.svg",
    ":/route-black.svg",
    ":/route-blue.svg",
    ":/setting-computer.svg",
    ":/setting-config.svg",
    ":/sinusoid.svg",
    ":/swap.svg",
    ":/tool.svg",
    ":/update.svg",
    ":/zoom-internal.svg",
};

// The menu and the tool bar offer the same action under both names, so the drawing is one and only the colour differs.
constexpr const char *kSameShape[][2] = {
    {":/math-black.svg", ":/math-blue.svg"},
    {":/route-black.svg", ":/route-blue.svg"},
};

constexpr int kSizes[] = {16, 24, 32, 48, 64};

// What the icons lie on: the window of the light theme and of the dark one.
constexpr QRgb kLight = 0xFFFAFAFA;
constexpr QRgb kDark = 0xFF19232D;

// What WCAG 2.1 (1.4.11) asks of a picture that carries meaning.
constexpr double kMinContrast = 3.0;
// A sixteenth of the area is one stroke across the icon; with less, nothing is recognised.
constexpr double kMinInk = 1.0 / 16.0;
// Of two pictures, the part of the area that has to differ so that the eye tells them apart: with colour, and in the
// shape alone, for those who do not see the colours.
constexpr double kMinDifference = 1.0 / 16.0;
constexpr double kMinShapeDifference = 1.0 / 32.0;

constexpr char kPngMagic[] = "\x89PNG\r\n\x1a\n";

double linear(int channel)
{
    const double c = channel / 255.0;
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

double luminance(QRgb rgb)
{
    return 0.2126 * linear(qRed(rgb)) + 0.7152 * linear(qGreen(rgb)) + 0.0722 * linear(qBlue(rgb));
}

double contrast(QRgb a, QRgb b)
{
    const double la = luminance(a) + 0.05;
    const double lb = luminance(b) + 0.05;
    return std::max(la, lb) / std::min(la, lb);
}

/** The icon as its user gets it, centred in size x size pixels; what it does not fill (or all of it) is transparent. */
QImage picture(const QString &name, int size)
{
    QImage image(size, size, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    const QPixmap pixmap = QIcon(name).pixmap(size, size);
    QPainter painter(&image);
    painter.drawPixmap((size - pixmap.width()) / 2, (size - pixmap.height()) / 2, pixmap);
    return image;
}

QImage onBackground(const QImage &image, QRgb background)
{
    QImage result(image.size(), QImage::Format_RGB32);
    result.fill(background);
    QPainter painter(&result);
    painter.drawImage(0, 0, image);
    return result;
}

/** Part of the pixels, 0 to 1, for which the test holds. */
template <typename Test>
double share(const QImage &image, Test test)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += test(x, y) ? 1 : 0;
    return double(count) / (image.width() * image.height());
}

double inkOn(const QImage &image, QRgb background)
{
    const QImage seen = onBackground(image, background);
    return share(seen, [&](int x, int y) { return contrast(seen.pixel(x, y), background) >= kMinContrast; });
}

double shapeDifference(const QImage &a, const QImage &b)
{
    return share(a, [&](int x, int y) { return std::abs(qAlpha(a.pixel(x, y)) - qAlpha(b.pixel(x, y))) > 96; });
}

double colourDifference(const QImage &a, const QImage &b)
{
    const QImage seenA = onBackground(a, kLight);
    const QImage seenB = onBackground(b, kLight);
    return share(seenA, [&](int x, int y) {
        const QRgb p = seenA.pixel(x, y);
        const QRgb q = seenB.pixel(x, y);
        return std::abs(qRed(p) - qRed(q)) + std::abs(qGreen(p) - qGreen(q)) + std::abs(qBlue(p) - qBlue(q)) > 96;
    });
}

QByteArray content(const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/** Sizes in the directory of an .ico, ascending; empty unless each part is a 32-bit picture of its size. */
QList<int> sizesOfIco(const QByteArray &data)
{
    const auto word = [&](int at) { return int(qFromLittleEndian<quint16>(data.constData() + at)); };
    const auto dword = [&](int at) { return qint64(qFromLittleEndian<quint32>(data.constData() + at)); };

    if (data.size() < 6 || word(0) != 0 || word(2) != 1)
        return {};
    const int count = word(4);
    if (data.size() < 6 + 16 * count)
        return {};

    QList<int> sizes;
    for (int i = 0; i < count; ++i) {
        const int entry = 6 + 16 * i;
        const qint64 length = dword(entry + 8);
        const qint64 offset = dword(entry + 12);
        if (word(entry + 6) != 32 || length < 40 || offset + length > data.size())
            return {};
        const QByteArray part = data.mid(int(offset), int(length));
        const int width = quint8(data[entry]) == 0 ? 256 : quint8(data[entry]);
        if (part.startsWith(kPngMagic)) {
            if (QImage::fromData(part, "PNG").size() != QSize(width, width))
                return {};
        } else {
            // A bitmap header counts the rows of the mask too, hence the double height.
            if (dword(int(offset)) != 40 || dword(int(offset) + 4) != width || dword(int(offset) + 8) != 2 * width
                || word(int(offset) + 14) != 32)
                return {};
        }
        sizes.append(width);
    }
    std::sort(sizes.begin(), sizes.end());
    return sizes;
}

} // namespace

class TestIcons : public QObject
{
    Q_OBJECT

private slots:
    void everyNameIsInTheTableOnce();
    void fileIsWhatItsSuffixSays_data();
    void fileIsWhatItsSuffixSays();
    void isReadableOnBothThemes_data();
    void isReadableOnBothThemes();
    void everyColourKeepsItsContrast_data();
    void everyColourKeepsItsContrast();
    void differentNamesAreDifferentPictures_data();
    void differentNamesAreDifferentPictures();
    void variantsShareTheShapeButNotTheColour_data();
    void variantsShareTheShapeButNotTheColour();
    void emblemHasTheShapeOfItsLabel();

private:
    static void addNameRows();
};

void TestIcons::addNameRows()
{
    QTest::addColumn<QString>("name");
    for (const char *name : kNames)
        QTest::newRow(name) << QString::fromLatin1(name);
}

void TestIcons::everyNameIsInTheTableOnce()
{
    // An icon that is added to the resources but not here would go unchecked.
    QStringList found;
    for (const QString &folder : {QStringLiteral(":/"), QStringLiteral(":/resources")}) {
        QDirIterator files(folder, {"*.ico", "*.svg", "*.png"}, QDir::Files);
        while (files.hasNext())
            found.append(files.next().replace("://", ":/"));
    }
    QStringList expected;
    for (const char *name : kNames)
        expected.append(QString::fromLatin1(name));
    found.sort();
    expected.sort();
    QCOMPARE(found, expected);
    QCOMPARE(expected.removeDuplicates(), 0);
}

void TestIcons::fileIsWhatItsSuffixSays_data()
{
    addNameRows();
}

void TestIcons::fileIsWhatItsSuffixSays()
{
    QFETCH(QString, name);
    const QByteArray data = content(name);
    QVERIFY(!data.isEmpty());

    if (name.endsWith(".png")) {
        QVERIFY(data.startsWith(kPngMagic));
    } else if (name.endsWith(".ico")) {
        QCOMPARE(sizesOfIco(data), (QList<int>{16, 24, 32, 48, 64, 256}));
    } else {
        QVERIFY(name.endsWith(".svg"));
        QXmlStreamReader xml(data);
        QVERIFY(xml.readNextStartElement());
        QCOMPARE(xml.name(), QStringLiteral("svg"));
        QCOMPARE(xml.namespaceUri(), QStringLiteral("http://www.w3.org/2000/svg"));
        QCOMPARE(xml.attributes().value("viewBox"), QStringLiteral("0 0 48 48"));
        // Nothing that Qt's renderer draws differently from others, or that a missing font would change.
        const QSet<QString> allowed{"title", "g", "path", "circle"};
        while (!xml.atEnd()) {
            if (xml.readNext() == QXmlStreamReader::StartElement)
                QVERIFY2(allowed.contains(xml.name().toString()), qPrintable(xml.name().toString()));
        }
        QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
    }
}

void TestIcons::isReadableOnBothThemes_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("size");
    for (const char *name : kNames)
        for (const int size : kSizes)
            QTest::addRow("%s at %d", name, size) << QString::fromLatin1(name) << size;
}

void TestIcons::isReadableOnBothThemes()
{
    QFETCH(QString, name);
    QFETCH(int, size);

    const QPixmap pixmap = QIcon(name).pixmap(size, size);
    QVERIFY(!pixmap.isNull());
    // The emblem alone is not square; every other icon fills what it is asked for, so none is blown up or left small.
    if (name != ":/Corvenne.png")
        QCOMPARE(pixmap.size(), QSize(size, size));

    const QImage image = picture(name, size);
    const double onLight = inkOn(image, kLight);
    const double onDark = inkOn(image, kDark);
    QVERIFY2(onLight >= kMinInk, qPrintable(QString("%1 of the area seen on light").arg(onLight)));
    QVERIFY2(onDark >= kMinInk, qPrintable(QString("%1 of the area seen on dark").arg(onDark)));
    // A filled square would pass the lines above and show nothing.
    QVERIFY(share(image, [&](int x, int y) { return qAlpha(image.pixel(x, y)) < 64; }) >= kMinInk);
}

void TestIcons::everyColourKeepsItsContrast_data()
{
    addNameRows();
}

void TestIcons::everyColourKeepsItsContrast()
{
    QFETCH(QString, name);
    const QImage image = picture(name, 64);
    int opaque = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            if (qAlpha(pixel) < 255)
                continue;
            ++opaque;
            const double worst = std::min(contrast(pixel, kLight), contrast(pixel, kDark));
            QVERIFY2(worst >= kMinContrast, qPrintable(QString("%1 has %2").arg(QColor(pixel).name()).arg(worst)));
        }
    }
    QVERIFY(opaque > 0);
}

void TestIcons::differentNamesAreDifferentPictures_data()
{
    addNameRows();
}

void TestIcons::differentNamesAreDifferentPictures()
{
    QFETCH(QString, name);
    const QImage image = picture(name, 32);
    for (const char *otherName : kNames) {
        const QString other = QString::fromLatin1(otherName);
        const bool sameShape = std::any_of(std::begin(kSameShape), std::end(kSameShape), [&](const auto &pair) {
            return (name == pair[0] && other == pair[1]) || (name == pair[1] && other == pair[0]);
        });
        if (other == name || sameShape)
            continue;
        const QImage otherImage = picture(other, 32);
        const double colour = colourDifference(image, otherImage);
        const double shape = shapeDifference(image, otherImage);
        QVERIFY2(colour >= kMinDifference, qPrintable(QString("%1 from %2").arg(colour).arg(other)));
        QVERIFY2(shape >= kMinShapeDifference, qPrintable(QString("shape %1 from %2").arg(shape).arg(other)));
    }
}

void TestIcons::variantsShareTheShapeButNotTheColour_data()
{
    QTest::addColumn<QString>("black");
    QTest::addColumn<QString>("blue");
    for (const auto &pair : kSameShape)
        QTest::newRow(pair[0]) << QString::fromLatin1(pair[0]) << QString::fromLatin1(pair[1]);
}

void TestIcons::variantsShareTheShapeButNotTheColour()
{
    QFETCH(QString, black);
    QFETCH(QString, blue);
    const QImage a = picture(black, 32);
    const QImage b = picture(blue, 32);
    QCOMPARE(shapeDifference(a, b), 0.0);
    QVERIFY(colourDifference(a, b) >= kMinDifference);
}

void TestIcons::emblemHasTheShapeOfItsLabel()
{
    // The About page stretches it over 200 x 150, which must not distort it.
    const QImage emblem(":/Corvenne.png");
    QVERIFY(emblem.width() >= 200);
    QCOMPARE(emblem.width() * 150, emblem.height() * 200);
    QVERIFY(emblem.hasAlphaChannel());
    QCOMPARE(qAlpha(emblem.pixel(0, 0)), 0);
}

QTEST_MAIN(TestIcons)
#include "TestIcons.moc"
