#include "CanvasPicture.h"

#include "Logging.h"

#include <QBuffer>
#include <QClipboard>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPdfWriter>
#include <QSaveFile>
#include <QSvgGenerator>
#include <qcustomplot.h>

namespace
{

constexpr double kPointsPerInch = 72;

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
    // The screen's, so that texts get the size that the layout was made for.
    generator.setResolution(m_window->logicalDpiX());
    generator.setSize(size());
    generator.setViewBox(QRect(QPoint(), size()));
    generator.setTitle(m_window->windowTitle());
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
    // The dialog adds the suffix itself, so it asks about the very file that would be replaced.
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
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        logToBoth(error, "picture not saved: {} ({})", path, file.errorString());
        emit statusShowSignal(tr("Picture not saved: %1 (%2)").arg(path, file.errorString()));
        return;
    }
    logToBoth(info, "picture saved: {}", path);
    emit statusShowSignal(tr("Picture saved: %1").arg(path));
}
