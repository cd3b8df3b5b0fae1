#pragma once

#include <QMetaMethod>
#include <QString>
#include <QStringList>

/** The signals and slots that a class declares, in declaration order, for example "signal done(bool)". */
inline QStringList ownMethods(const QMetaObject &metaObject)
{
    QStringList result;
    for (int i = metaObject.methodOffset(); i < metaObject.methodCount(); ++i) {
        const QMetaMethod method = metaObject.method(i);
        const char *const kind = method.methodType() == QMetaMethod::Signal ? "signal " : "slot ";
        result.append(QLatin1String(kind) + QString::fromLatin1(method.methodSignature()));
    }
    return result;
}
