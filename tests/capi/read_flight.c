/* A host program in plain C.
 *
 * read_flight          reads a log that it writes itself and checks every number; status 0 when all are right
 * read_flight FILE...  prints a line for each flight; status 1 when one cannot be read
 */

#include "ostravel.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

static int faults = 0;

#define CHECK(condition) check((condition) != 0, #condition, __LINE__)

static void check(int good, const char *text, int line)
{
    if (good)
        return;
    fprintf(stderr, "line %d: not true: %s\n", line, text);
    ++faults;
}

static int channel_number(const char *name)
{
    ostravel_channel_info info;
    int channel;
    for (channel = 0; channel < ostravel_channel_count(); ++channel) {
        if (ostravel_channel(channel, &info) == OSTRAVEL_OK && strcmp(info.name, name) == 0)
            return channel;
    }
    return -1;
}

static size_t length_of(const ostravel_flight *flight, const char *name)
{
    size_t length = 0;
    ostravel_samples(flight, channel_number(name), &length);
    return length;
}

static const char kLog[] = "log.txt";

/* Roll 0xFFFF is -0.01, pitch 0x04D2 is 12.34, yaw 0xFFFF is 655.35; the remaining 38 bytes are 0. */
static const char kAttitude[] = "AAEC01030000"
                                "FFFF04D2FFFF"
                                "00000000000000000000000000000000000000"
                                "00000000000000000000000000000000000000\n";

static void write_log(void)
{
    FILE *file = fopen(kLog, "wb");
    int i;
    if (file == NULL)
        return;
    for (i = 0; i < 3; ++i)
        fputs(kAttitude, file);
    fputs("no frame\n", file);
    fclose(file);
}

static void check_channels(void)
{
    ostravel_channel_info info;
    CHECK(ostravel_interface() == OSTRAVEL_INTERFACE);
    CHECK(strlen(ostravel_version()) >= 5);
    CHECK(ostravel_channel_count() == 143);
    CHECK(ostravel_channel(channel_number("PGS_Roll"), &info) == OSTRAVEL_OK);
    CHECK(strcmp(info.label, "\xE6\xA8\xAA\xE6\xBB\x9A") == 0);
    CHECK(strcmp(info.unit, "deg") == 0);
    CHECK(strcmp(info.group, "attitude") == 0);
    CHECK(info.function_code == 3 && info.row == 0);
    CHECK(ostravel_channel(143, &info) == OSTRAVEL_BAD_ARGUMENT);
    CHECK(ostravel_channel(-1, &info) == OSTRAVEL_BAD_ARGUMENT);
}

/* With three attitude frames and nothing else the control status follows and the others get one sample. */
static void check_flight(const ostravel_flight *flight)
{
    ostravel_report report;
    ostravel_track track;
    int64_t start = 0;
    size_t length = 0;
    const double *samples = ostravel_samples(flight, channel_number("PGS_Roll"), &length);
    CHECK(length == 3);
    CHECK(samples != NULL && samples[0] == -0.01 && samples[2] == -0.01);
    CHECK(ostravel_samples(flight, channel_number("PGS_Pitch"), &length)[1] == 12.34);
    CHECK(ostravel_samples(flight, channel_number("PGS_Yaw"), &length)[1] == 655.35);
    CHECK(length_of(flight, "FSS_FlightMode") == 3);
    CHECK(length_of(flight, "DS_Top") == 1);
    CHECK(length_of(flight, "SS_ACC_X") == 1);
    CHECK(length_of(flight, "FTP_TargetRoll") == 1);
    CHECK(length_of(flight, "HBS_Lng") == 0);
    CHECK(ostravel_samples(flight, channel_number("HBS_Lng"), &length) == NULL);
    CHECK(ostravel_samples(flight, 143, &length) == NULL && length == 0);

    ostravel_flight_report(flight, &report);
    CHECK(report.lines == 4 && report.bad_headers == 1);
    CHECK(report.other_planes == 0 && report.unknown_codes == 0);
    /* The control status after the second and the third frame; at the end it, with the equipment, sensor and target. */
    CHECK(report.gaps_filled == 5);
    CHECK(report.broken_off == OSTRAVEL_OK && report.broken_off_text[0] == '\0');
    CHECK(ostravel_start(flight, &start) == 0);
    CHECK(ostravel_period_ms(flight, 0x03) == 200);
    CHECK(ostravel_flight_track(flight, OSTRAVEL_WHOLE_TRACK, &track) == OSTRAVEL_OK && track.length == 3);
    CHECK(ostravel_flight_track(flight, 7, &track) == OSTRAVEL_BAD_ARGUMENT);
}

static void check_options(void)
{
    static const ostravel_period period = {0x03, 1000};
    ostravel_read_options options;
    ostravel_error error;
    ostravel_flight *flight;
    int64_t start = 0;
    ostravel_read_defaults(&options);
    options.has_start = 1;
    options.start_seconds = 1689670800; /* 2023-07-18 09:00:00 */
    options.periods = &period;
    options.period_count = 1;
    flight = ostravel_read(kLog, &options, &error);
    CHECK(flight != NULL && error.code == OSTRAVEL_OK && error.text[0] == '\0');
    CHECK(ostravel_start(flight, &start) == 1 && start == 1689670800);
    CHECK(ostravel_period_ms(flight, 0x03) == 1000 && ostravel_period_ms(flight, 0x02) == 200);
    ostravel_free(flight);

    options.plane = 2;
    flight = ostravel_read(kLog, &options, NULL);
    CHECK(flight != NULL && length_of(flight, "PGS_Roll") == 0);
    ostravel_free(flight);

    options.plane = 256;
    CHECK(ostravel_read(kLog, &options, &error) == NULL && error.code == OSTRAVEL_BAD_ARGUMENT);
}

static void check_errors(void)
{
    ostravel_error error;
    CHECK(ostravel_read("missing.txt", NULL, &error) == NULL);
    CHECK(error.code == OSTRAVEL_CANNOT_OPEN && strstr(error.text, "missing.txt") != NULL);
    CHECK(ostravel_read("log.csv", NULL, &error) == NULL && error.code == OSTRAVEL_UNKNOWN_SUFFIX);
    CHECK(ostravel_read(NULL, NULL, &error) == NULL && error.code == OSTRAVEL_BAD_ARGUMENT);
    CHECK(ostravel_tasks(kLog, &error) == NULL && error.code == OSTRAVEL_UNKNOWN_SUFFIX);
    ostravel_free(NULL);
    ostravel_free_tasks(NULL);
}

static int print_flights(int count, char **paths)
{
    int i, status = 0;
    for (i = 0; i < count; ++i) {
        ostravel_error error;
        ostravel_report report;
        ostravel_flight *flight = ostravel_read(paths[i], NULL, &error);
        if (flight == NULL) {
            fprintf(stderr, "%s\n", error.text);
            status = 1;
            continue;
        }
        ostravel_flight_report(flight, &report);
        printf("%" PRId64 " lines, %" PRId64 " bad, %lu samples of roll\n", report.lines, report.bad_headers,
               (unsigned long)length_of(flight, "PGS_Roll"));
        ostravel_free(flight);
    }
    return status;
}

int main(int argc, char **argv)
{
    ostravel_flight *flight;
    if (argc > 1)
        return print_flights(argc - 1, argv + 1);
    write_log();
    check_channels();
    flight = ostravel_read(kLog, NULL, NULL);
    CHECK(flight != NULL);
    if (flight != NULL)
        check_flight(flight);
    ostravel_free(flight);
    check_options();
    check_errors();
    return faults == 0 ? 0 : 1;
}
