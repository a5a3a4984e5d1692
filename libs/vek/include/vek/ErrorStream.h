#pragma once

#include <iosfwd>
#include <mutex>
#include <string_view>

#include "vek/String.h"

namespace vek {

struct EndLine {};
inline constexpr EndLine endl{};

// The core error stream: the one place where the module writes a line for the person or
// script that started it when something escaped. Writes go to the process's standard error
// unless a test redirects them. Each operator<< is locked, so lines from several threads do
// not tear inside one piece of text.
class ErrorStream {
public:
    ErrorStream& operator<<(std::string_view text);
    ErrorStream& operator<<(const char* text) { return *this << std::string_view(text); }
    ErrorStream& operator<<(const String& text) { return *this << text.toStdString(); }
    ErrorStream& operator<<(const CString& text) { return *this << text.str(); }
    ErrorStream& operator<<(EndLine);

    // Sends the stream to `target` (nullptr restores standard error).
    void redirectForTesting(std::ostream* target);

private:
    std::ostream& target();
    std::mutex mutex_;
    std::ostream* target_ = nullptr;
};

extern ErrorStream cerr;

}  // namespace vek
