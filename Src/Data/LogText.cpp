#include "LogText.h"

#include <algorithm>

namespace
{

bool isControl(QChar character)
{
    const ushort number = character.unicode();
    return (number < 0x20 && number != '\t') || (number >= 0x7F && number <= 0x9F);
}

QString withoutControls(const QString &text)
{
    if (std::none_of(text.cbegin(), text.cend(), isControl))
        return text;
    QString result;
    result.reserve(text.size());
    for (const QChar character : text) {
        if (isControl(character))
            result += QStringLiteral("\\x%1").arg(character.unicode(), 2, 16, QLatin1Char('0'));
        else
            result += character;
    }
    return result;
}

} // namespace

QString forLog(const QString &line)
{
    constexpr int kMaxBytes = 64 * 1024;
    QByteArray text = line.left(kMaxBytes).toUtf8();
    if (line.size() <= kMaxBytes && text.size() <= kMaxBytes)
        return withoutControls(line);
    int end = std::min(kMaxBytes, text.size());
    while (end > 0 && (static_cast<unsigned char>(text.at(end - 1)) & 0xC0U) == 0x80U)
        --end; // skip continuation bytes of a character that the limit splits
    if (end > 0 && static_cast<unsigned char>(text.at(end - 1)) >= 0xC0U)
        --end;
    text.truncate(end);
    // Concatenated, because the text may contain place markers.
    return withoutControls(QString::fromUtf8(text)) + QStringLiteral("... (%1 characters)").arg(line.size());
}
