#pragma once

/**
 * @file
 * The field tables for lookups at run time, made from the rows in the core.
 */

#include "FieldValue.h"
#include "FrameRows.h"

#include <QString>
#include <cstdint>

namespace frame = ostravel::frame;
using ostravel::readBe16;
using ostravel::readFieldValue;

/** A row of a frame's field table. */
struct FrameField {
    std::uint8_t index; ///< row number in its table, from 1
    std::uint16_t offset; ///< byte number of the field in the frame, counted from 1
    std::int8_t width; ///< bytes
    double divisor; ///< value = raw / divisor
    bool isSigned; ///< two's complement
    const char *name; ///< channel name in code and logs
    QString label; ///< displayed name, and the key of the channel at run time
};

/** A field table with its function code. */
struct FrameInfo {
    std::uint16_t code; ///< function code
    int size; ///< a byte count; unused
    int fieldCount; ///< rows of the table, including the empty row at its end
    const FrameField *fields; ///< the rows
    const char *name; ///< code and description; null in the last row of frameInfos
};

/** Nine rows, one per function code, followed by an all-zero row. */
extern const FrameInfo *const frameInfos;

/**
 * The row of a function code's table.
 *
 * @param row row from 0; not checked against the table
 * @return null for a code that is not in frameInfos
 */
const FrameField *findFrameField(std::uint16_t code, int row);
