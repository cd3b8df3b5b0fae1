#include "ColorButtonStyle.h"

QString colorButtonStyle(const QString &objectName, const QColor &color)
{
    return QStringLiteral("#%1{background-color: rgb(%2,%3,%4);            border: 1px solid #298DFF;            "
                          "border-radius: 3px;}")
        .arg(objectName, QString::number(color.red()), QString::number(color.green()), QString::number(color.blue()));
}
