#pragma once
// The exception family of the host's older device layer.

#include "HostFrameworkExport.h"

#include <exception>
#include <string>

/// Root of the older layer's exceptions: a wide message.
class HOSTFRAMEWORK_EXPORT TolvaneExceptionBase : public std::exception {
public:
    explicit TolvaneExceptionBase(std::wstring message);
    TolvaneExceptionBase(const TolvaneExceptionBase&) = default;
    TolvaneExceptionBase& operator=(const TolvaneExceptionBase&) = default;
    ~TolvaneExceptionBase() override;

    /// The message as UTF-8, valid as long as the exception.
    const char* what() const noexcept override;

    /// The message alone.
    const std::wstring& getMessage() const noexcept { return message_; }

private:
    std::wstring message_;
    std::string narrow_;
};

/// An older-layer exception that may know the source line that threw it.
class HOSTFRAMEWORK_EXPORT TolvaneException : public TolvaneExceptionBase {
public:
    static constexpr int noLine = -1;

    explicit TolvaneException(std::wstring message, std::wstring file = {}, int line = noLine);
    TolvaneException(const TolvaneException&) = default;
    TolvaneException& operator=(const TolvaneException&) = default;
    ~TolvaneException() override;

    const std::wstring& getFile() const noexcept { return file_; }
    int getLine() const noexcept { return line_; }

    /// The message, followed by " @ ", the file, ":" and the line if the line is not noLine.
    std::wstring getDescription() const;

private:
    std::wstring file_;
    int line_;
};
