#pragma once

/**
 * @file
 * When the program was built.
 */

/** The compiler's date and time of the build, joined without a separator: "Dec  6 202315:14:20". */
extern const char kBuildDate[];
