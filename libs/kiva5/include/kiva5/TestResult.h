#pragma once

#include <optional>
#include <string_view>

namespace kiva5 {

// A test's verdict. The codes are fixed (they are the module's exit codes too):
//   PASS 0, FAIL 1, WARN 2, CANNOTRUN 3, NODEVICE 4, BADPARAMS 5, TIMEDOUT 6,
//   USERABORTED 7, EXITEDABNORMALLY 8.
// A default-constructed result is CANNOTRUN: nothing has run yet.
class TestResult {
public:
    TestResult();

    static const TestResult& PASS();
    static const TestResult& FAIL();
    static const TestResult& WARN();
    static const TestResult& CANNOTRUN();
    static const TestResult& NODEVICE();
    static const TestResult& BADPARAMS();
    static const TestResult& TIMEDOUT();
    static const TestResult& USERABORTED();
    static const TestResult& EXITEDABNORMALLY();

    int value() const { return code_; }
    std::string_view name() const;
    static std::optional<TestResult> fromName(std::string_view name);

    // How bad a result is when several runs make one overall verdict: the worst wins.
    // PASS < WARN < NODEVICE < CANNOTRUN < BADPARAMS < USERABORTED < TIMEDOUT < FAIL
    //      < EXITEDABNORMALLY.
    int severity() const;
    static const TestResult& worse(const TestResult& a, const TestResult& b);

    bool operator==(const TestResult& other) const { return code_ == other.code_; }
    bool operator!=(const TestResult& other) const { return code_ != other.code_; }

private:
    explicit TestResult(int code) : code_(code) {}
    int code_;
};

}  // namespace kiva5
