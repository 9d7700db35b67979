// The container library's one error: an exception that carries a result.
#pragma once

#include "Platform/Com/Results.h"

#include <exception>
#include <string>

namespace core {

/// Thrown by value by the box and descriptor code. Filters turn it into a result at their boundary.
class exception : public std::exception {
public:
    explicit exception(HRESULT result) : result_(result) {}
    exception(HRESULT result, std::string message) : result_(result), message_(std::move(message)) {}

    HRESULT result() const noexcept { return result_; }
    const std::string& message() const noexcept { return message_; }
    const char* what() const noexcept override { return message_.c_str(); }

private:
    HRESULT result_;
    std::string message_;
};

/// The calling thread's last system error as a result; an error that is a result already passes through.
HRESULT last_error_hresult();

/// Throws with the last system error and no message unless the condition holds.
void require(bool condition);

}  // namespace core
