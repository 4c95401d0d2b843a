#pragma once
// Status and Result<T>: the one way an operation that can fail reports it across a
// library boundary. No exception crosses a library boundary; callers must look at
// what they get back ([[nodiscard]]).
#include <cassert>
#include <string>
#include <utility>
#include <variant>

namespace velmora {

class [[nodiscard]] Status {
public:
    enum class Code {
        ok,
        notFound,
        invalidArgument,
        permissionDenied,
        ioError,
        noSpace,
        corruption,
        busy,
        cancelled,
        unsupported,
        internal,
    };

    Status() = default;
    Status(Code code, std::string message, int libraryCode = 0)
        : code_(code), message_(std::move(message)), libraryCode_(libraryCode) {}

    static Status success() { return {}; }
    static Status notFound(std::string m) { return {Code::notFound, std::move(m)}; }
    static Status invalidArgument(std::string m) { return {Code::invalidArgument, std::move(m)}; }
    static Status permissionDenied(std::string m) { return {Code::permissionDenied, std::move(m)}; }
    static Status ioError(std::string m) { return {Code::ioError, std::move(m)}; }
    static Status corruption(std::string m) { return {Code::corruption, std::move(m)}; }
    static Status busy(std::string m) { return {Code::busy, std::move(m)}; }
    static Status cancelled(std::string m) { return {Code::cancelled, std::move(m)}; }
    static Status unsupported(std::string m) { return {Code::unsupported, std::move(m)}; }
    static Status internal(std::string m) { return {Code::internal, std::move(m)}; }
    /// Maps an errno value to the matching code; the message is `context` followed by
    /// strerror's text ("cannot write /x: No space left on device").
    static Status fromErrno(int err, const std::string& context);

    bool ok() const { return code_ == Code::ok; }
    Code code() const { return code_; }
    // The failing library's own code (an SQLite or LMDB result code), or 0.
    int libraryCode() const { return libraryCode_; }
    const std::string& message() const { return message_; }
    /// The message, or "OK".
    std::string toString() const { return ok() ? std::string("OK") : message_; }

    /// Explicitly drops a status whose failure the caller has decided not to act on.
    void ignore() const {}

private:
    Code code_ = Code::ok;
    std::string message_;
    int libraryCode_ = 0;
};

template <class T>
class [[nodiscard]] Result {
public:
    Result(T value) : v_(std::move(value)) {}  // NOLINT: implicit on purpose
    Result(Status failure) : v_(std::move(failure)) {  // NOLINT
        assert(!std::get<Status>(v_).ok() && "a Result holding a status must hold a failure");
    }

    bool ok() const { return std::holds_alternative<T>(v_); }
    explicit operator bool() const { return ok(); }

    T& value() & { return std::get<T>(v_); }
    const T& value() const& { return std::get<T>(v_); }
    T&& value() && { return std::get<T>(std::move(v_)); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }
    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }

    T valueOr(T fallback) const& { return ok() ? value() : std::move(fallback); }

    /// The failure, or a success status when a value is held.
    Status status() const { return ok() ? Status() : std::get<Status>(v_); }

private:
    std::variant<T, Status> v_;
};

}  // namespace velmora
