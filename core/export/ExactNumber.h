#pragma once

/**
 * @file
 * Numbers as the shortest text that reads back bit for bit.
 */

namespace ostravel
{

/** Bytes that putExact() may write, the longest number among them: "-2.2250738585072014e-308". */
inline constexpr int kExactNumberRoom = 32;

/**
 * Writes numbers with the fewest digits that read back as the same double: at most 17.
 *
 * A number that is a whole number over the divisor is written in plain decimals ("113.91378", "-0.5", "100000"), which
 * is quick; any other as std::to_chars writes it ("1e-17"). "-0", "nan" and "inf" are possible. Safe from any thread.
 */
class ExactNumber
{
public:
    /** @param divisor 1, 10, 100, 1000 or 10000000; any other number costs time and changes nothing */
    explicit ExactNumber(double divisor);

    /** @param to room for kExactNumberRoom bytes. @return the end of the text; no zero byte stands there */
    char *put(char *to, double value) const;

private:
    double m_divisor;
    int m_decimals; // that a whole number over the divisor has at most; kNoDecimals for an unknown divisor
};

/** The same for a single number. */
inline char *putExact(char *to, double value, double divisor)
{
    return ExactNumber(divisor).put(to, value);
}

} // namespace ostravel
