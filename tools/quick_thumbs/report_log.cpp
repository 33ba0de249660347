#include "quick_thumbs/report_log.h"

#include "quick_thumbs/libav.h"

extern "C" {
#include <libavutil/log.h>
}

#include <cstring>
#include <mutex>

namespace qv::reportlog
{
namespace
{

constexpr std::size_t longest = 4'000'000;

std::mutex g_mutex;
std::string g_text;
int g_printPrefix = 1;

bool isNeeded(const char *line)
{
    for (const char *word :
         {" IN delayed", " OUTdelayed", "read_frame_internal ", "nal_unit_type:"}) {
        if (std::strstr(line, word) != nullptr) {
            return false;
        }
    }
    return true;
}

// As ffmpeg prints it: most control characters become "?".
void sanitize(char *text)
{
    for (; *text != '\0'; ++text) {
        const auto byte = static_cast<unsigned char>(*text);
        if (byte < 0x08 || (byte > 0x0D && byte < 0x20)) {
            *text = '?';
        }
    }
}

void gather(void *source, int level, const char *format, va_list values)
{
    if (level > AV_LOG_DEBUG) {
        return;
    }
    const std::lock_guard lock(g_mutex);
    static char said[2048];
    av_log_format_line(source, level, format, values, said, sizeof said, &g_printPrefix);
    sanitize(said);
    if (g_text.size() < longest && isNeeded(said)) {
        g_text.append(said);
    }
}

} // namespace

void start()
{
    av_log_set_level(AV_LOG_DEBUG);
    av_log_set_callback(gather);
}

void stop()
{
    av_log_set_callback(av_log_default_callback);
    av_log_set_level(AV_LOG_FATAL);
}

void line(const std::string &text)
{
    const std::lock_guard lock(g_mutex);
    g_text.append(text).append(1, '\n');
}

bool isTooLong()
{
    return g_text.size() >= longest;
}

const std::string &text()
{
    return g_text;
}

} // namespace qv::reportlog
