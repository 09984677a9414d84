#include "core/log/ZELLog.h"

#include "core/json/HXAddtions.h"

#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <mutex>

namespace zel {
namespace {

std::mutex& logMutex() {
    static std::mutex mutex;
    return mutex;
}

LogSink& currentSink() {
    static LogSink sink;
    return sink;
}

std::string integerText(const Value& v) {
    if (v.is_number_integer() || v.is_boolean()) return hx::description(v);
    if (v.is_number_float()) {
        const double d = v.get<double>();
        // Out-of-range conversion to an integer is undefined; such values keep their own text.
        if (std::isfinite(d) && std::fabs(d) < 9.0e18) return std::to_string(static_cast<long long>(d));
    }
    return hx::description(v);
}

std::string timestampPrefix() {
    using namespace std::chrono;
    const auto now = system_clock::now();
    const std::time_t seconds = system_clock::to_time_t(now);
    const auto millis = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm local{};
    localtime_r(&seconds, &local);
    char buffer[64];
    const std::size_t n = std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", &local);
    char prefix[128];
    std::snprintf(prefix, sizeof prefix, "%.*s.%03d ostrelle[%d] ", static_cast<int>(n), buffer,
                  static_cast<int>(millis), static_cast<int>(getpid()));
    return prefix;
}

}  // namespace

std::string formatLog(std::string_view format, const std::vector<LogArg>& args) {
    std::string out;
    std::size_t nextArg = 0;
    const auto takeArg = [&]() -> Value { return nextArg < args.size() ? args[nextArg++].value() : nil(); };
    for (std::size_t i = 0; i < format.size(); ++i) {
        const char c = format[i];
        const std::string_view rest = format.substr(i);
        if (c != '%') {
            out += c;
        } else if (rest.starts_with("%@")) {
            out += hx::description(takeArg());
            i += 1;
        } else if (rest.starts_with("%hhd")) {
            out += integerText(takeArg());
            i += 3;
        } else if (rest.starts_with("%%")) {
            out += '%';
            i += 1;
        } else {
            // Not a directive of these format texts: written as it stands.
            out += c;
        }
    }
    return out;
}

void logLine(const std::string& text) {
    // The sink is called with the lock held so that lines never interleave; a sink must not log itself.
    std::lock_guard lock(logMutex());
    if (const LogSink& sink = currentSink()) {
        sink(text);
        return;
    }
    std::string line = timestampPrefix();
    line += text;
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

LogSink setLogSink(LogSink sink) {
    std::lock_guard lock(logMutex());
    LogSink previous = std::move(currentSink());
    currentSink() = std::move(sink);
    return previous;
}

}  // namespace zel
