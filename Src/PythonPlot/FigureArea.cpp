#include "FigureArea.h"

#include <algorithm>
#include <array>

QRect figureArea(const QRect &dialog, const QRect &available)
{
    if (!dialog.intersects(available))
        return available;
    std::array<QRect, 4> sides{available, available, available, available};
    sides[0].setLeft(dialog.right() + 1);
    sides[1].setRight(dialog.left() - 1);
    sides[2].setTop(dialog.bottom() + 1);
    sides[3].setBottom(dialog.top() - 1);
    const auto size = [](const QRect &side) { return side.isValid() ? qint64{side.width()} * side.height() : 0; };
    return *std::max_element(sides.begin(), sides.end(),
                             [&](const QRect &a, const QRect &b) { return size(a) < size(b); });
}

QRect nativePixels(const QRect &area, QPoint origin, qreal scale)
{
    return QRectF(origin + QPointF(area.topLeft() - origin) * scale, QSizeF(area.size()) * scale).toAlignedRect();
}
