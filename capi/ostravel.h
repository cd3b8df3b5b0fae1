#ifndef OSTRAVEL_H
#define OSTRAVEL_H

/**
 * @file
 * C interface to recorded flights: read a text log or a flight database, look at its 143 channels without a copy,
 * export it.
 *
 * All texts are UTF-8 and end in a NUL byte; a path that is not UTF-8 is a bad argument. Functions throw nothing and
 * keep no state between calls. Different handles may be used on different threads at once; a flight that is not being
 * freed may be read by any number of threads.
 *
 * Databases are read by Qt's SQLite driver, which works without an application object. The library makes none, so that
 * a host program is free to have its own.
 */

/* C99 has neither the headers nor the aliases of C++. */
/* NOLINTBEGIN(modernize-use-using,modernize-deprecated-headers) */

#include <stddef.h>
#include <stdint.h>

/** @def OSTRAVEL_API
 * Marks a function that the library exports, in the way of the platform. */
#if defined(_WIN32) && defined(OSTRAVEL_BUILDS_LIBRARY)
#define OSTRAVEL_API __declspec(dllexport)
#elif defined(_WIN32)
#define OSTRAVEL_API __declspec(dllimport)
#else
#define OSTRAVEL_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Changes whenever a function or a structure of this file changes its form. */
#define OSTRAVEL_INTERFACE 1

/** For ostravel_export: heads of csv with the Chinese labels instead of names. */
#define OSTRAVEL_LABELS 1

/** Where ostravel_read_options::plane keeps the frames of all planes. */
#define OSTRAVEL_ALL_PLANES (-1)

/** What can go wrong. */
typedef enum ostravel_code {
    OSTRAVEL_OK = 0,
    OSTRAVEL_UNKNOWN_SUFFIX = 1, /**< neither a text log (txt) nor a flight database (db) */
    OSTRAVEL_CANNOT_OPEN = 2, /**< missing, no regular file, or not readable */
    OSTRAVEL_NOT_A_DATABASE = 3, /**< a database without the tables of flights */
    OSTRAVEL_NO_TASK = 4, /**< a database without a task, or without the tasks that are asked for */
    OSTRAVEL_BROKEN_OFF = 5, /**< reading stopped before the end of the file; what was read before is there */
    OSTRAVEL_CANCELLED = 6, /**< the progress function said so */
    OSTRAVEL_BAD_ARGUMENT = 7, /**< a null pointer, a number out of range or a path that is not UTF-8 */
    OSTRAVEL_UNKNOWN_FORMAT = 8, /**< no export of this name */
    OSTRAVEL_CANNOT_WRITE = 9, /**< an export could not be written, or not completely */
    OSTRAVEL_OUT_OF_MEMORY = 10,
    OSTRAVEL_INTERNAL = 11 /**< a fault of the library */
} ostravel_code;

/** Why a function failed. The caller owns it, so that no call on another thread changes it. */
typedef struct ostravel_error {
    int32_t code; /**< an ostravel_code */
    char text[2044]; /**< one English sentence, cut at a whole character where it is longer; empty after success */
} ostravel_error;

/** A flight in memory. */
typedef struct ostravel_flight ostravel_flight;
/** The list of tasks of a flight database. */
typedef struct ostravel_task_list ostravel_task_list;

/** One channel. The texts stay for the life of the process. */
typedef struct ostravel_channel_info {
    const char *name; /**< key in code, such as "PGS_Roll" */
    const char *label; /**< Chinese name that the program shows */
    const char *unit; /**< "deg", "m", "m/s", "degC", "%", "laps" or "satellites"; empty where none is settled */
    const char *group; /**< name of its group: "heartbeat", "control", "attitude", "sensor", "target", "payload",
                            "difference", "backup" or "equipment" */
    int32_t function_code; /**< of its frames, such as 0x03 */
    int32_t row; /**< in the table of its function code, from 0 */
} ostravel_channel_info;

/** One flight task of a database. The name lives as long as its list. */
typedef struct ostravel_task_info {
    int32_t id; /**< 0 to 255: the low 8 bits of the number in the file, by which records are found */
    const char *name; /**< as the file has it */
    int64_t created_ms; /**< milliseconds since 1970-01-01 00:00 UTC */
} ostravel_task_info;

/** The time between two samples of a group. */
typedef struct ostravel_period {
    int32_t function_code; /**< such as 0x01. 0x51 and 0x53 follow 0x02 and, like 0x52, have no period of their own */
    int32_t milliseconds; /**< from 1 to those of a day */
} ostravel_period;

/**
 * Called now and then on the thread that reads.
 *
 * @param done bytes of a text log or records of a database that are read
 * @param total how many there are; 0 while a database is copied before it is read
 * @param user what the options hold
 * @return 0 to cancel, anything else to go on
 */
typedef int (*ostravel_progress)(int64_t done, int64_t total, void *user);

/** What to read of a file. Set up by ostravel_read_defaults() and changed from there. */
typedef struct ostravel_read_options {
    int32_t plane; /**< only frames of this plane, 0 to 255, or OSTRAVEL_ALL_PLANES */
    int32_t has_start; /**< not 0: start_seconds instead of the aircraft's clock */
    int64_t start_seconds; /**< time of sample 0 in seconds since 1970-01-01 00:00 on the aircraft's own clock; in the
                                years 1 to 9999 */
    const uint8_t *tasks; /**< of a database, in the order to read them; null for all */
    size_t task_count;
    const ostravel_period *periods; /**< null for 200 ms everywhere */
    size_t period_count;
    ostravel_progress progress; /**< null for none */
    void *user; /**< passed to progress */
} ostravel_read_options;

/** What the lines of a file were. */
typedef struct ostravel_report {
    int64_t lines; /**< all lines or records */
    int64_t bad_headers; /**< lines that are no frame */
    int64_t other_planes; /**< frames that the plane filter drops */
    int64_t unknown_codes; /**< accepted frames whose code brings no sample */
    int64_t gaps_filled; /**< samples of a group that repeat the one before, because a frame was missing or short */
    int32_t broken_off; /**< OSTRAVEL_BROKEN_OFF when the file ended early, else OSTRAVEL_OK */
    const char *broken_off_text; /**< why; empty when it did not. Lives as long as the flight */
} ostravel_report;

/** The origin of the flight's local frame. */
typedef struct ostravel_origin {
    double latitude; /**< degrees */
    double longitude; /**< degrees */
    double scale; /**< length of a degree of longitude beside that of a degree of latitude */
} ostravel_origin;

/** Which track of a flight. */
typedef enum ostravel_track_kind {
    OSTRAVEL_WHOLE_TRACK = 0, /**< from the first good position fix on */
    OSTRAVEL_ATTACK_TRACK = 1 /**< the last leg; the whole flight where there is none */
} ostravel_track_kind;

/** A track. The arrays have equal length and live as long as the flight. */
typedef struct ostravel_track {
    const double *east; /**< metres from the origin */
    const double *north; /**< metres from the origin */
    const double *up; /**< metres */
    size_t length;
} ostravel_track;

/** OSTRAVEL_INTERFACE of the library: refuse to work with another one than that of the header. */
OSTRAVEL_API int ostravel_interface(void);
/** The version of the program that the library belongs to, such as "2.3.2". */
OSTRAVEL_API const char *ostravel_version(void);

/** Number of channels. They are numbered from 0, group by group. */
OSTRAVEL_API int ostravel_channel_count(void);
/**
 * Describes a channel.
 *
 * @return OSTRAVEL_OK, or OSTRAVEL_BAD_ARGUMENT for a number out of range
 */
OSTRAVEL_API int ostravel_channel(int channel, ostravel_channel_info *info);

/** Fills options with the defaults: everything, as the recorder wrote it. */
OSTRAVEL_API void ostravel_read_defaults(ostravel_read_options *options);
/**
 * Reads a flight.
 *
 * @param path file with the suffix txt or db, in lower case; it keeps its bytes
 * @param options null for the defaults
 * @param error null when nobody asks why; filled in after success too
 * @return the flight, which the caller frees, or null. A file that breaks off gives the part that could be read: see
 *         ostravel_report
 */
OSTRAVEL_API ostravel_flight *ostravel_read(const char *path, const ostravel_read_options *options,
                                            ostravel_error *error);
/** Frees a flight and every array that it gave. Null does no harm. */
OSTRAVEL_API void ostravel_free(ostravel_flight *flight);

/**
 * The samples of a channel, in its unit and in the order of time.
 *
 * @param length receives their number
 * @return the flight's own array, which lives as long as the flight; null where there is no sample
 */
OSTRAVEL_API const double *ostravel_samples(const ostravel_flight *flight, int channel, size_t *length);
/** Milliseconds between two samples of a function code; sample i lies at the start plus i times this. */
OSTRAVEL_API int ostravel_period_ms(const ostravel_flight *flight, int function_code);
/**
 * The time of sample 0 of every channel.
 *
 * @param seconds receives whole seconds since 1970-01-01 00:00 on the aircraft's own clock, whatever its time zone
 * @return 1, or 0 when neither the options nor the aircraft's clock gave one
 */
OSTRAVEL_API int ostravel_start(const ostravel_flight *flight, int64_t *seconds);
/** The origin of the tracks; a fixed one when the log has fewer than ten heartbeats. */
OSTRAVEL_API void ostravel_flight_origin(const ostravel_flight *flight, ostravel_origin *origin);
/**
 * The flown track or its last leg.
 *
 * @param kind an ostravel_track_kind
 * @return OSTRAVEL_OK, or OSTRAVEL_BAD_ARGUMENT
 */
OSTRAVEL_API int ostravel_flight_track(const ostravel_flight *flight, int kind, ostravel_track *track);
/** What the lines of the file were. */
OSTRAVEL_API void ostravel_flight_report(const ostravel_flight *flight, ostravel_report *report);

/**
 * Writes a flight to a file, as ostravel-convert does.
 *
 * @param format "csv", "mat", "xlsx", "kml", "gpx" or "geojson"; "txt" for a folder of text files
 * @param path the file, or the folder for "txt". A file is replaced when the new one is complete; a workbook keeps its
 *        other sheets. In csv a group with a period of its own goes to a table beside it: flight.0x01.csv
 * @param flags 0, or OSTRAVEL_LABELS
 * @param error null when nobody asks why
 * @return an ostravel_code. Other threads may read and export the flight meanwhile, to other files
 */
OSTRAVEL_API int ostravel_export(const ostravel_flight *flight, const char *format, const char *path, int flags,
                                 ostravel_error *error);

/**
 * The tasks of a flight database.
 *
 * @param error null when nobody asks why
 * @return a list, which the caller frees, or null. A database without a task gives an empty list
 */
OSTRAVEL_API ostravel_task_list *ostravel_tasks(const char *path, ostravel_error *error);
/**
 * One task of a list, from 0 in the order of the file.
 *
 * @return OSTRAVEL_OK, or OSTRAVEL_BAD_ARGUMENT behind the last one
 */
OSTRAVEL_API int ostravel_task(const ostravel_task_list *tasks, size_t index, ostravel_task_info *info);
/** Frees a list of tasks. Null does no harm. */
OSTRAVEL_API void ostravel_free_tasks(ostravel_task_list *tasks);

#ifdef __cplusplus
}
#endif

/* NOLINTEND(modernize-use-using,modernize-deprecated-headers) */

#endif
