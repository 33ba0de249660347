// Plays every behaviour of a tool.
//
// fake_tool play STEP...    plays the steps in order:
//   out=TEXT err=TEXT   prints (\n, \r, \xHH are escapes)
//   sleep=MS            waits without using the processor
//   spin=MS             waits using it
//   env=NAME            prints the variable's value
//   cat                 copies standard input to standard output
//   silent-input=MS     prints "open" when standard input gives neither data nor end for so long
//   close=out|err       closes the stream
//   write=PATH append=PATH fill=PATH make-folder=PATH remove=PATH chmod=PATH truncate=PATH
//   empty=PATH read=PATH rename=FROM:TO
//                       touches files and prints "done" or why not; fill never stops by itself
//   connect=PORT        the same with a connection to the port on this machine
//   signal=PID fork=1 leave-group=1 limit=PID stay=1
//                       the same with a signal to the process, a process of its own, a session
//                       of its own, another process's limits, outliving its parent
//   allocate=MB         uses so much memory; ends with status 1 when it is refused
//   cores               prints how large a core it may leave
//   holder=MS           leaves a child behind that holds both streams open
//   crash=SIGNAL exit=N ends
//
// Otherwise it is ffmpeg, or quickThumbs when that is its name. The source's name says what
// happens, in parts between dots:
//   <phase>-<behaviour>[-<index>], phase analysis, preview, picture or all, of quickThumbs probe or
//   quick; index of the picture.
//   Behaviours: hang, crash, silent (prints nothing), garbage, missing (no output file),
//   intra (no file while intra frames are selected), open (another picture while only intra
//   frames are decoded), slow, flood, refuse, cut (measure: crashes
//   when it has printed)
//   "duration-N" sets the seconds that the report states.
// FAKE_TOOL_LOG names a file that gets a line "phase index source" per run; FAKE_TOOL_PICTURE one
// that is copied as the picture; FAKE_TOOL_TIMES one that gets a line "phase begin end" per run
// that ends by itself, in nanoseconds of the steady clock.

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <map>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

using Texts = std::vector<std::string>;

void writeTo(int fd, const std::string &text)
{
    for (size_t done = 0; done < text.size();) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n <= 0) {
            return;
        }
        done += static_cast<size_t>(n);
    }
}

void waitFor(int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

[[noreturn]] void hang()
{
    while (true) {
        waitFor(1000);
    }
}

void spin(int milliseconds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (std::chrono::steady_clock::now() < end) {
    }
}

std::string unescaped(const std::string &text)
{
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            plain += text[i];
        } else if (text[++i] == 'n') {
            plain += '\n';
        } else if (text[i] == 'r') {
            plain += '\r';
        } else if (text[i] == 'x' && i + 2 < text.size()) {
            plain += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
        }
    }
    return plain;
}

void copyInput()
{
    char buffer[4096];
    for (ssize_t n = 0; (n = ::read(STDIN_FILENO, buffer, sizeof buffer)) > 0;) {
        writeTo(STDOUT_FILENO, std::string(buffer, static_cast<size_t>(n)));
    }
}

void tellSilentInput(int milliseconds)
{
    pollfd request{STDIN_FILENO, POLLIN, 0};
    writeTo(STDOUT_FILENO, ::poll(&request, 1, milliseconds) == 0 ? "open" : "not silent");
}

void leaveHolder(int milliseconds)
{
    if (::fork() == 0) {
        ::setpgid(0, 0);
        waitFor(milliseconds);
        std::_Exit(0);
    }
}

int writeFile(const std::string &path, int flags)
{
    const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | flags, 0600);
    const bool written = fd >= 0 && ::write(fd, "x", 1) == 1;
    const int error = errno;
    ::close(fd);
    errno = error;
    return written ? 0 : -1;
}

int fillFile(const std::string &path)
{
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const std::string block(1 << 16, 'x');
    while (fd >= 0 && ::write(fd, block.data(), block.size()) > 0) {
    }
    return -1;
}

int readFile(const std::string &path)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    char byte = 0;
    return fd >= 0 && ::read(fd, &byte, 1) >= 0 ? 0 : -1;
}

// Opened in these ways, no right to write the file is asked for.
int emptyFile(const std::string &path)
{
    struct {
        std::uint64_t flags = O_RDONLY | O_TRUNC;
        std::uint64_t mode = 0;
        std::uint64_t resolve = 0;
    } how;
    const bool isEmptied = ::open(path.c_str(), O_RDONLY | O_TRUNC) >= 0 ||
                           ::open(path.c_str(), O_ACCMODE | O_TRUNC) >= 0 ||
                           ::syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how) >= 0;
    return isEmptied ? 0 : -1;
}

int forkProcess()
{
    const pid_t pid = ::fork();
    if (pid == 0) {
        std::_Exit(0);
    }
    return pid > 0 ? ::waitpid(pid, nullptr, 0) : -1;
}

int limitOther(pid_t process)
{
    const rlimit limit{RLIM_INFINITY, RLIM_INFINITY};
    return ::prlimit(process, RLIMIT_CORE, &limit, nullptr);
}

int connectTo(int port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return fd < 0 ? -1 : ::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address);
}

// What a tool could do to the user's files and the net; 0 when it could.
using Touch = int (*)(const std::string &value);
const std::map<std::string, Touch> touches = {
    {"write", [](const auto &path) { return writeFile(path, O_CREAT | O_TRUNC); }},
    {"append", [](const auto &path) { return writeFile(path, O_APPEND); }},
    {"fill", fillFile},
    {"make-folder", [](const auto &path) { return ::mkdir(path.c_str(), 0700); }},
    {"remove", [](const auto &path) { return ::unlink(path.c_str()); }},
    {"chmod", [](const auto &path) { return ::chmod(path.c_str(), 0777); }},
    {"truncate", [](const auto &path) { return ::truncate(path.c_str(), 0); }},
    {"rename",
     [](const auto &paths) {
         const size_t colon = paths.find(':');
         return ::rename(paths.substr(0, colon).c_str(), paths.substr(colon + 1).c_str());
     }},
    {"connect", [](const auto &port) { return connectTo(std::atoi(port.c_str())); }},
    {"read", readFile},
    {"empty", emptyFile},
    {"signal", [](const auto &pid) { return ::kill(std::atoi(pid.c_str()), 0); }},
    {"fork", [](const auto &) { return forkProcess(); }},
    {"leave-group", [](const auto &) { return ::setsid() >= 0 ? 0 : -1; }},
    {"limit", [](const auto &pid) { return limitOther(std::atoi(pid.c_str())); }},
    {"stay", [](const auto &) { return ::prctl(PR_SET_PDEATHSIG, 0); }},
};

void allocate(int megabytes)
{
    constexpr size_t megabyte = 1 << 20;
    for (int i = 0; i < megabytes; ++i) {
        void *block = std::malloc(megabyte);
        if (block == nullptr) {
            std::_Exit(1);
        }
        // Through a pointer that the compiler can't see through, or it would leave it all out.
        static void *(*const volatile fill)(void *, int, size_t) = std::memset;
        fill(block, 1, megabyte);
    }
}

void tellCores()
{
    rlimit limit{};
    ::getrlimit(RLIMIT_CORE, &limit);
    writeTo(STDOUT_FILENO, std::to_string(limit.rlim_cur));
}

void tellVariable(const std::string &name)
{
    const char *found = std::getenv(name.c_str());
    writeTo(STDOUT_FILENO, found != nullptr ? found : "(none)");
}

void crash(int signal)
{
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

using Step = void (*)(const std::string &value, int number);
const std::map<std::string, Step> steps = {
    {"out", [](const auto &text, int) { writeTo(STDOUT_FILENO, unescaped(text)); }},
    {"err", [](const auto &text, int) { writeTo(STDERR_FILENO, unescaped(text)); }},
    {"sleep", [](const auto &, int milliseconds) { waitFor(milliseconds); }},
    {"spin", [](const auto &, int milliseconds) { spin(milliseconds); }},
    {"env", [](const auto &name, int) { tellVariable(name); }},
    {"cat", [](const auto &, int) { copyInput(); }},
    {"silent-input", [](const auto &, int milliseconds) { tellSilentInput(milliseconds); }},
    {"close",
     [](const auto &stream, int) { ::close(stream == "out" ? STDOUT_FILENO : STDERR_FILENO); }},
    {"allocate", [](const auto &, int megabytes) { allocate(megabytes); }},
    {"cores", [](const auto &, int) { tellCores(); }},
    {"holder", [](const auto &, int milliseconds) { leaveHolder(milliseconds); }},
    {"crash", [](const auto &, int signal) { crash(signal); }},
    {"exit", [](const auto &, int status) { std::_Exit(status); }},
};

void playStep(const std::string &step)
{
    const size_t equal = step.find('=');
    const std::string name = step.substr(0, equal);
    const std::string value = equal == std::string::npos ? "" : step.substr(equal + 1);
    if (const auto touch = touches.find(name); touch != touches.end()) {
        writeTo(STDOUT_FILENO, touch->second(value) == 0 ? "done" : std::strerror(errno));
    } else if (const auto other = steps.find(name); other != steps.end()) {
        other->second(value, std::atoi(value.c_str()));
    }
}

// ---- ffmpeg

struct Run {
    std::string phase;
    int index = -1;
    std::string source;
    std::string stem; // of the source's name
    std::string output;
    bool selectsIntra = false;
    bool decodesIntraOnly = false;
};

std::string lastComponent(const std::string &path)
{
    return path.substr(path.find_last_of('/') + 1);
}

Run understand(const Texts &arguments)
{
    Run run;
    const auto input = std::find(arguments.begin(), arguments.end(), "-i");
    if (input != arguments.end() && input + 1 != arguments.end()) {
        run.source = *(input + 1);
    }
    run.stem = lastComponent(run.source);
    run.output = arguments.empty() ? "" : arguments.back();
    const std::string name = lastComponent(run.output);
    const bool analysis =
        std::find(arguments.begin(), arguments.end(), "yuv4mpegpipe") != arguments.end();
    const bool picture = name.rfind("img", 0) == 0 && name.size() >= 9;
    const bool measuring = std::find(arguments.begin(), arguments.end(), "copy") != arguments.end();
    const bool look = std::find(arguments.begin(), arguments.end(), "nokey") != arguments.end();
    run.phase = analysis    ? "analysis"
                : picture   ? "picture"
                : measuring ? "measure"
                : look      ? "look"
                            : "preview";
    run.index = picture ? std::atoi(name.c_str() + 3) : -1;
    run.decodesIntraOnly =
        std::find(arguments.begin(), arguments.end(), "nointra") != arguments.end();
    run.selectsIntra = std::any_of(arguments.begin(), arguments.end(), [](const std::string &a) {
        return a.find("pict_type") != std::string::npos;
    });
    return run;
}

void logRun(const Run &run)
{
    if (run.phase == "measure" && run.stem.find("ends-") == std::string::npos) {
        return;
    }
    if (const char *path = std::getenv("FAKE_TOOL_LOG")) {
        std::ofstream log(path, std::ios::app);
        log << run.phase << ' ' << run.index << ' ' << lastComponent(run.source) << '\n';
    }
}

long long nanoseconds()
{
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

// In one piece and at the very end, so that little of what it costs is the tool's own.
void noteTimes(const Run &run, long long begun)
{
    if (const char *path = std::getenv("FAKE_TOOL_TIMES")) {
        std::ofstream(path, std::ios::app)
            << run.phase + ' ' + std::to_string(begun) + ' ' + std::to_string(nanoseconds()) + '\n';
    }
}

// The behaviour that the source's name asks of this run.
std::string behaviourOf(const Run &run)
{
    size_t from = 0;
    while (from < run.stem.size()) {
        size_t end = run.stem.find('.', from);
        end = end == std::string::npos ? run.stem.size() : end;
        const std::string part = run.stem.substr(from, end - from);
        from = end + 1;
        const size_t first = part.find('-');
        const std::string phase = part.substr(0, first);
        if (first == std::string::npos || (phase != run.phase && phase != "all")) {
            continue;
        }
        const size_t second = part.find('-', first + 1);
        const std::string behaviour = part.substr(first + 1, second - first - 1);
        if (second == std::string::npos || std::atoi(part.c_str() + second + 1) == run.index) {
            return behaviour;
        }
    }
    return "";
}

int durationOf(const Run &run)
{
    const size_t at = run.stem.find("duration-");
    return at == std::string::npos ? 60 : std::atoi(run.stem.c_str() + at + 9);
}

void printReport(const Run &run)
{
    char duration[32];
    const int seconds = durationOf(run);
    std::snprintf(duration, sizeof duration, "%02d:%02d:%02d.00", seconds / 3600, seconds / 60 % 60,
                  seconds % 60);
    writeTo(STDERR_FILENO,
            "ffmpeg version 5.1 Copyright\n"
            "Input #0, mov,mp4,m4a,3gp,3g2,mj2, from '" +
                run.source + "':\n  Duration: " + duration +
                ", start: 0.000000, bitrate: 800 kb/s\n"
                "  Stream #0:0[0x1](und): Video: h264 (High), yuv420p, 640x360 [SAR 1:1 DAR 16:9], "
                "700 kb/s, 25 fps, 25 tbr, 12800 tbn (default)\n"
                "  Stream #0:1[0x2](eng): Audio: aac (LC), 48000 Hz, stereo, fltp, 96 kb/s\n"
                "  Stream #0:0 -> #0:0 (h264 (native) -> wrapped_avframe (native))\n"
                "Output #0, null, to 'pipe:':\n"
                "frame=   10 fps=0.0 q=-0.0 size=1k time=00:00:00.40 bitrate=N/A speed=9x\n");
}

// Each picture's file differs, as frames do.
void writeOutput(const Run &run)
{
    if (run.output.rfind('-', 0) == 0) {
        return; // asked for its version, for example
    }
    std::ofstream file(run.output, std::ios::binary);
    if (run.phase == "analysis") {
        file << "YUV4MPEG2 W640 H360 F25:1 Ip A1:1 C420jpeg\nFRAME\n";
        return;
    }
    const char *picture = std::getenv("FAKE_TOOL_PICTURE");
    if (picture != nullptr) {
        file << std::ifstream(picture, std::ios::binary).rdbuf();
        file << run.index;
        if (run.decodesIntraOnly && behaviourOf(run) == "open") {
            file << "another";
        }
    } else {
        file << "no picture at all";
    }
}

void noteInstant(const std::string &filter, double seconds)
{
    writeTo(STDERR_FILENO, '[' + filter + " @ 0x1] n:   0 pts:  1 pts_time:" +
                               std::to_string(seconds) + " fmt:yuv420p iskey:1 type:I\n");
}

int refuse(const Run &run)
{
    writeTo(STDERR_FILENO, run.source + ": Invalid data found when processing input\n");
    writeTo(STDERR_FILENO, "Error opening input file: unknown format\n");
    return 1;
}

// Packets are there for "ends-<seconds>", or as long as the report claims.
int measure(const Run &run, const Texts &arguments)
{
    const auto seek = std::find(arguments.begin(), arguments.end(), "-ss");
    const int from = seek == arguments.end() ? 0 : std::atoi((seek + 1)->c_str());
    const size_t at = run.stem.find("ends-");
    const int end =
        at == std::string::npos ? durationOf(run) : std::atoi(run.stem.c_str() + at + 5);
    char progress[80];
    std::snprintf(progress, sizeof progress, "frame=%5d Lsize=N/A time=00:%02d:%02d.00 bitrate=N/A",
                  end > from ? (end - from) * 25 : 0, std::max(0, end - from) / 60,
                  std::max(0, end - from) % 60);
    writeTo(STDERR_FILENO, progress);
    return 0;
}

// Behaviours that leave nothing else to do: the exit status.
std::optional<int> misbehave(const Run &run, const std::string &behaviour)
{
    if (behaviour == "silent") {
        return 1;
    }
    if (behaviour == "hang") {
        hang();
    }
    if (behaviour == "crash") {
        crash(SIGSEGV);
    }
    if (behaviour == "garbage") {
        std::string noise;
        for (int i = 0; i < 5000; ++i) {
            noise += static_cast<char>((i * 131 + 7) & 0xff);
        }
        writeTo(STDERR_FILENO, noise);
        return 0;
    }
    return behaviour == "refuse" ? std::optional(refuse(run)) : std::nullopt;
}

int actAsFfmpeg(const Texts &arguments, const std::string &filter = "Parsed_showinfo_1")
{
    const Run run = understand(arguments);
    const std::string behaviour = behaviourOf(run);
    logRun(run);
    if (const auto status = misbehave(run, behaviour)) {
        return *status;
    }
    if (run.phase == "picture" && ::access(run.source.c_str(), R_OK) != 0) {
        return refuse(run);
    }
    printReport(run);
    if (run.phase == "measure") {
        const int status = measure(run, arguments);
        if (behaviour == "cut") {
            crash(SIGSEGV);
        }
        return status;
    }
    if (behaviour == "slow") {
        waitFor(300);
    }
    if (behaviour == "flood") {
        for (int i = 0; i < 20000; ++i) {
            writeTo(STDERR_FILENO, "frame=1 time=00:00:01.00 bitrate=N/A and so on and so on\r");
        }
    }
    if (behaviour == "damaged") {
        writeTo(STDERR_FILENO, "[h264 @ 0x1] [error] error while decoding MB 1 1\n");
    }
    if (run.phase == "look") {
        noteInstant("Parsed_showinfo_1", 0);
    }
    if (run.phase == "picture") {
        noteInstant(filter, behaviour == "far" && run.selectsIntra ? 100 : 0);
    }
    if (behaviour != "missing" && !(behaviour == "intra" && run.selectsIntra)) {
        writeOutput(run);
    }
    return 0;
}

// A run of several pictures, which have an input and an output each, takes one after the other.
int takeTogether(const Texts &arguments)
{
    if (std::count(arguments.begin(), arguments.end(), "-i") < 2) {
        return actAsFfmpeg(arguments);
    }
    std::vector<Texts> outputs;
    for (auto from = std::find(arguments.begin(), arguments.end(), "-map");
         from != arguments.end();) {
        const auto to = std::find(from + 1, arguments.end(), "-map");
        outputs.emplace_back(from, to);
        from = to;
    }
    const auto source = std::find(arguments.begin(), arguments.end(), "-i") + 1;
    int status = 0;
    for (size_t i = 0; i < outputs.size(); ++i) {
        outputs[i].insert(outputs[i].begin(), {"-i", *source});
        if (std::find(arguments.begin(), arguments.end(), "nointra") != arguments.end()) {
            outputs[i].insert(outputs[i].begin(), {"-skip_frame", "nointra"});
        }
        status = std::max(status, actAsFfmpeg(outputs[i], "showinfo@" + std::to_string(i)));
    }
    return status;
}

// ---- quickThumbs

std::string valueOf(const Texts &arguments, const std::string &option)
{
    const auto found = std::find(arguments.begin(), arguments.end(), option);
    return found == arguments.end() || found + 1 == arguments.end() ? "" : *(found + 1);
}

void describe(Run run, const Texts &arguments)
{
    printReport(run);
    writeTo(STDERR_FILENO, "tail           : " + std::to_string(durationOf(run)) + ".000 50\n");
    run.phase = "analysis";
    run.output = valueOf(arguments, "-frame");
    writeOutput(run);
    run.phase = "preview";
    run.output = valueOf(arguments, "-o");
    writeOutput(run);
}

// Each picture is of two seconds later than it was asked for. "far" tells what can't be, "missing"
// leaves out the last.
void takeAll(Run run, const std::string &behaviour, std::string codes)
{
    const std::string folder = run.output;
    for (run.index = 0; !codes.empty(); ++run.index) {
        const size_t dash = codes.find('-');
        if (behaviour == "missing" && dash == std::string::npos) {
            return;
        }
        int hours = 0;
        int minutes = 0;
        double seconds = 0;
        std::sscanf(codes.c_str(), "%d:%d:%lf", &hours, &minutes, &seconds);
        codes = dash == std::string::npos ? "" : codes.substr(dash + 1);
        const std::string index = std::to_string(run.index);
        const std::string told = std::to_string(hours * 3600 + minutes * 60 + seconds + 2);
        run.output = folder + "/img0" + index + ".jpg";
        writeOutput(run);
        writeTo(STDOUT_FILENO, "image          : " + index + ' ' +
                                   (behaviour == "far" ? std::string(300, '9') + ".5" : told) +
                                   '\n');
    }
}

// The arguments of a second command, as the tool gets them; none when it leaves before.
Texts awaitCommand(bool leaves)
{
    if (leaves) {
        close(STDIN_FILENO);
    }
    writeTo(STDOUT_FILENO, "waiting\n");
    Texts arguments(1);
    for (char c = 0; read(STDIN_FILENO, &c, 1) == 1;) {
        if (c != '\0') {
            arguments.back() += c;
        } else if (arguments.back().empty()) {
            break;
        } else {
            arguments.emplace_back();
        }
    }
    arguments.pop_back();
    return arguments;
}

int actAsQuickThumbs(const Texts &arguments, const std::string &logged = "")
{
    Run run;
    run.phase = arguments.empty() || arguments[0] != "-probe" ? "quick" : "probe";
    run.source = valueOf(arguments, run.phase == "probe" ? "-probe" : "-i");
    run.stem = lastComponent(run.source);
    run.output = valueOf(arguments, "-o");
    const std::string behaviour = behaviourOf(run);
    Run log = run;
    log.phase = logged.empty() ? run.phase : logged;
    logRun(log);
    if (const auto status = misbehave(run, behaviour)) {
        return *status;
    }
    if (behaviour == "slow") {
        waitFor(300);
    }
    if (run.phase == "probe") {
        describe(run, arguments);
        if (arguments.back() == "-stay") {
            run.phase = "quick";
            const Texts next = awaitCommand(behaviourOf(run) == "gone");
            return next.empty() ? 0 : actAsQuickThumbs(next, "kept");
        }
    } else {
        takeAll(run, behaviour, valueOf(arguments, "-tc"));
    }
    return behaviour == "missing" ? 1 : 0;
}

} // namespace

int main(int argc, char **argv)
{
    const Texts arguments(argv + 1, argv + argc);
    if (!arguments.empty() && arguments[0] == "play") {
        std::for_each(arguments.begin() + 1, arguments.end(), playStep);
        return 0;
    }
    if (lastComponent(argv[0]) == "quickThumbs") {
        return actAsQuickThumbs(arguments);
    }
    const long long begun = nanoseconds();
    const int status = takeTogether(arguments);
    noteTimes(understand(arguments), begun);
    return status;
}
