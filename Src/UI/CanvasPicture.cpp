#include "CanvasPicture.h"

#include "Logging.h"
#include "WholeWrite.h"

#include <QBuffer>
#include <QClipboard>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPdfWriter>
#include <QSaveFile>
#include <QSvgGenerator>
#include <algorithm>
#include <limits>
#include <memory>
#include <qcustomplot.h>
#include <vector>

namespace
{

constexpr double kPointsPerInch = 72;

/** Clips the line from first to second to the ranges (Liang-Barsky). @return false when no part of it is inside */
bool clipLine(QCPGraphData *first, QCPGraphData *second, const QCPRange &keys, const QCPRange &values)
{
    const double dKey = second->key - first->key;
    const double dValue = second->value - first->value;
    const double directions[] = {-dKey, dKey, -dValue, dValue};
    const double distances[]
        = {first->key - keys.lower, keys.upper - first->key, first->value - values.lower, values.upper - first->value};
    double from = 0;
    double to = 1;
    for (int i = 0; i < 4; ++i) {
        if (directions[i] == 0 && distances[i] < 0)
            return false;
        const double share = distances[i] / directions[i];
        if (directions[i] < 0)
            from = std::max(from, share);
        else if (directions[i] > 0)
            to = std::min(to, share);
    }
    if (!(from <= to))
        return false;
    const QCPGraphData start = *first;
    if (from > 0)
        *first = {start.key + from * dKey, start.value + from * dValue};
    if (to < 1)
        *second = {start.key + to * dKey, start.value + to * dValue};
    return true;
}

/** The part of a curve inside its axis ranges, with a NaN sample at each gap. O(samples). */
QSharedPointer<QCPGraphDataContainer> visiblePart(const QCPGraph &curve)
{
    const QCPRange keys = curve.keyAxis()->range();
    const QCPRange values = curve.valueAxis()->range();
    QVector<QCPGraphData> points;
    const auto begin = curve.data()->constBegin();
    const auto end = curve.data()->constEnd();
    for (auto it = begin; it != end && it + 1 != end; ++it) {
        QCPGraphData first = *it;
        QCPGraphData second = *(it + 1);
        if (!clipLine(&first, &second, keys, values))
            continue;
        const bool continues
            = !points.isEmpty() && points.constLast().key == first.key && points.constLast().value == first.value;
        if (!continues) {
            if (!points.isEmpty())
                points.append({first.key, std::numeric_limits<double>::quiet_NaN()});
            points.append(first);
        }
        points.append(second);
    }
    auto container = QSharedPointer<QCPGraphDataContainer>::create();
    container->set(points, true);
    return container;
}

/**
 * Temporarily replaces the samples of all curves of a canvas by their visible parts. Qt 5 does not support clipping in
 * SVG, so the curves would be drawn over the labels and the other canvas. The destructor restores the samples.
 */
class ClippedCurves
{
public:
    explicit ClippedCurves(QCustomPlot *canvas)
    {
        // When painted, a crosshair would search for its sample in the clipped curve.
        for (int i = 0; i < canvas->itemCount(); ++i) {
            auto *tracer = qobject_cast<QCPItemTracer *>(canvas->item(i));
            if (!tracer || !tracer->graph())
                continue;
            m_crosshairs.append({tracer, tracer->graph()});
            tracer->setGraph(nullptr);
        }
        for (int i = 0; i < canvas->graphCount(); ++i) {
            QCPGraph *const curve = canvas->graph(i);
            m_whole.append({curve, curve->data(), curve->selection()});
            curve->setData(visiblePart(*curve));
            if (curve->selected())
                curve->setSelection(QCPDataSelection(curve->data()->dataRange()));
        }
    }
    ~ClippedCurves()
    {
        for (const Whole &each : qAsConst(m_whole)) {
            each.curve->setData(each.samples);
            each.curve->setSelection(each.selection);
        }
        for (const auto &each : qAsConst(m_crosshairs))
            each.first->setGraph(each.second);
    }
    Q_DISABLE_COPY(ClippedCurves)

private:
    struct Whole {
        QCPGraph *curve;
        QSharedPointer<QCPGraphDataContainer> samples;
        QCPDataSelection selection;
    };

    QVector<QPair<QCPItemTracer *, QCPGraph *>> m_crosshairs;
    QVector<Whole> m_whole;
};

} // namespace

CanvasPicture::CanvasPicture(const QVector<QCustomPlot *> &canvases, QWidget *window)
    : QObject(window)
    , m_canvases(canvases)
    , m_window(window)
{
}

QSize CanvasPicture::size() const
{
    QSize size;
    for (const QCustomPlot *canvas : m_canvases)
        size = {qMax(size.width(), canvas->width()), qMax(size.height(), 0) + canvas->height()};
    return size;
}

void CanvasPicture::paint(QCPPainter *painter) const
{
    const int width = size().width();
    for (QCustomPlot *canvas : m_canvases) {
        canvas->toPainter(painter, width, canvas->height());
        painter->translate(0, canvas->height());
    }
}

QImage CanvasPicture::image() const
{
    const qreal ratio = m_window->devicePixelRatioF();
    QImage image(size() * ratio, QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::white);
    QCPPainter painter(&image);
    paint(&painter);
    return image;
}

QByteArray CanvasPicture::png() const
{
    QBuffer buffer;
    image().save(&buffer, "PNG");
    return buffer.data();
}

QByteArray CanvasPicture::svg() const
{
    QBuffer buffer;
    QSvgGenerator generator;
    generator.setOutputDevice(&buffer);
    // The screen's resolution, so that texts have the size that the layout was computed for.
    generator.setResolution(m_window->logicalDpiX());
    generator.setSize(size());
    generator.setViewBox(QRect(QPoint(), size()));
    generator.setTitle(m_window->windowTitle());
    std::vector<std::unique_ptr<ClippedCurves>> clipped;
    for (QCustomPlot *canvas : m_canvases)
        clipped.push_back(std::make_unique<ClippedCurves>(canvas));
    QCPPainter painter;
    painter.begin(&generator);
    painter.setMode(QCPPainter::pmVectorized);
    paint(&painter);
    painter.end();
    return buffer.data();
}

QByteArray CanvasPicture::pdf() const
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    {
        const int resolution = m_window->logicalDpiX();
        QPdfWriter writer(&buffer);
        writer.setResolution(resolution);
        writer.setPageSize(QPageSize(QSizeF(size()) * kPointsPerInch / resolution, QPageSize::Point, QString(),
                                     QPageSize::ExactMatch));
        writer.setPageMargins(QMarginsF());
        writer.setTitle(m_window->windowTitle());
        QCPPainter painter;
        painter.begin(&writer);
        painter.setMode(QCPPainter::pmVectorized);
        paint(&painter);
    }
    return buffer.data();
}

QByteArray CanvasPicture::encoded(const QString &suffix) const
{
    const QString format = suffix.toLower();
    if (format == QLatin1String("png"))
        return png();
    if (format == QLatin1String("svg"))
        return svg();
    if (format == QLatin1String("pdf"))
        return pdf();
    return {};
}

void CanvasPicture::copy()
{
    QGuiApplication::clipboard()->setImage(image());
    logToBoth(info, "picture copied to the clipboard");
    emit statusShowSignal(tr("Picture copied to the clipboard"));
}

void CanvasPicture::saveAs(const QString &suggestedPath)
{
    QFileDialog dialog(m_window, tr("Save picture"), suggestedPath);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilters(
        {QStringLiteral("PNG (*.png)"), QStringLiteral("SVG (*.svg)"), QStringLiteral("PDF (*.pdf)")});
    dialog.setDefaultSuffix(QStringLiteral("png"));
    // The dialog adds the suffix itself, so that it asks before replacing the file that is actually written.
    connect(&dialog, &QFileDialog::filterSelected, &dialog,
            [&dialog](const QString &filter) { dialog.setDefaultSuffix(filter.left(3).toLower()); });
    if (dialog.exec() == QDialog::Accepted)
        save(dialog.selectedFiles().value(0));
}

void CanvasPicture::save(const QString &path)
{
    const QByteArray bytes = encoded(QFileInfo(path).suffix());
    if (bytes.isEmpty()) {
        logToBoth(error, "picture not saved, unknown suffix: {}", path);
        emit statusShowSignal(tr("Picture not saved: the name must end in .png, .svg or .pdf"));
        return;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || !ostravel::writeWhole(file, bytes) || !file.commit()) {
        logToBoth(error, "picture not saved: {} ({})", path, file.errorString());
        emit statusShowSignal(tr("Picture not saved: %1 (%2)").arg(path, file.errorString()));
        return;
    }
    logToBoth(info, "picture saved: {}", path);
    emit statusShowSignal(tr("Picture saved: %1").arg(path));
}
