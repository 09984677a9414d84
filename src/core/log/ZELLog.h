// Diagnostics: one line per message on stderr, "<date time.ms> ostrelle[<pid>] <text>".
//
// Messages use fixed format texts in which "%@" stands for the description of a value (see hx::description),
// "%hhd" for a small integer or flag, and "%%" for a percent sign. Thread-safe. Tests may install a sink that
// receives each formatted text (without the time prefix) instead of stderr.
#pragma once

#include "core/value/Value.h"

#include <functional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zel {

// A password, verification code or cookie as a log argument: it prints as the fixed mask "******" whatever
// its length, so a log line keeps its text and never carries the secret.
class Secret {
  public:
    static constexpr const char* kMask = "******";
    explicit Secret(std::string_view /*secret*/) {}
};

class LogArg {
  public:
    LogArg(const Value& v) : value_(v) {}
    LogArg(const std::string& s) : value_(s) {}
    LogArg(const char* s) : value_(s ? Value(s) : nil()) {}
    LogArg(bool b) : value_(static_cast<int>(b)) {}
    LogArg(int i) : value_(i) {}
    LogArg(long i) : value_(i) {}
    LogArg(double d) : value_(d) {}
    LogArg(Secret) : value_(Secret::kMask) {}
    const Value& value() const { return value_; }

  private:
    Value value_;
};

// Fills a format text; missing arguments print as "(null)", surplus ones are ignored.
std::string formatLog(std::string_view format, const std::vector<LogArg>& args);

void logLine(const std::string& text);

template <class... A>
void zelLog(std::string_view format, const A&... args) {
    logLine(formatLog(format, {LogArg(args)...}));
}

using LogSink = std::function<void(const std::string&)>;
// Installs a sink (empty function: back to stderr). Returns the previous one.
LogSink setLogSink(LogSink sink);

}  // namespace zel
