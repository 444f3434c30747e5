// The table of report outputs and its defaults.

#include "base/report_output.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

void default_print(const char* format, va_list args)
{
    vfprintf(stderr, format, args);
    fflush(stderr);
}

void default_message_box(const char* title, const char* text)
{
    if (!title || !text)
        return;
    report_printf("\n*\n*\t%s\n*\n*\t%s\n*\n", title, text);
}

void default_shutdown(const char* text)
{
    if (text)
        report_printf("\nError, unable to continue...\n\n%s\n\n", text);
    exit(-1);
}

const char* default_time_stamp()
{
    static const char* const days[] = { "Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat" };
    static const char* const months[] = { "Jan", "Feb", "Mar", "Apr", "May", "Jun",
        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec" };
    static char buffer[64];
    time_t now = time(nullptr);
    const struct tm* utc = gmtime(&now);
    if (!utc) {
        buffer[0] = 0;
        return buffer;
    }
    snprintf(buffer, sizeof buffer, "%s, %02d %s %04d %02d:%02d:%02d GMT", days[utc->tm_wday],
        utc->tm_mday, months[utc->tm_mon], utc->tm_year + 1900, utc->tm_hour, utc->tm_min, utc->tm_sec);
    return buffer;
}

// A plain pointer that is zero before any constructor runs, so that a report made during static
// start-up finds the defaults.
const REPORT_OUTPUT* installed = nullptr;

} // namespace

void set_report_output(const REPORT_OUTPUT* output)
{
    installed = output;
}

void report_printf(const char* format, ...)
{
    if (!format)
        return;
    void (*print)(const char*, va_list) = installed && installed->print ? installed->print : default_print;
    va_list args;
    va_start(args, format);
    print(format, args);
    va_end(args);
}

void report_message_box(const char* title, const char* text)
{
    if (installed && installed->message_box)
        installed->message_box(title, text);
    else
        default_message_box(title, text);
}

void report_shutdown(const char* text)
{
    if (installed && installed->shutdown)
        installed->shutdown(text);
    else
        default_shutdown(text);
    exit(-1);
}

const char* report_time_stamp()
{
    if (installed && installed->time_stamp)
        return installed->time_stamp();
    return default_time_stamp();
}
