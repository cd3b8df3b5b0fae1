#pragma once

/**
 * @file
 * Numbers to text.
 */

#include <QByteArray>

namespace ostravel
{

/**
 * Appends a number as QTextStream << double writes it with the stream's defaults: at most six significant digits,
 * scientific with a signed exponent of at least two digits when the exponent is below -4 or at least 6.
 *
 * The same bytes, without the stream's cost a number. Minus zero is "0"; "inf", "-inf" and "nan" as the stream has
 * them.
 */
void appendNumber(QByteArray &text, double value);

} // namespace ostravel
