#pragma once
// What one of the plug-in's loggers says.

#include "Support/LogCapture.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

namespace PluginLogs {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::LogLine;
using TestSupport::LogText;
using Texts = std::vector<LogText>;

inline LogText trace(std::string message) {
    return {"TRACE", std::move(message)};
}
inline LogText debug(std::string message) {
    return {"DEBUG", std::move(message)};
}
inline LogText info(std::string message) {
    return {"INFO", std::move(message)};
}
inline LogText warn(std::string message) {
    return {"WARN", std::move(message)};
}
inline LogText error(std::string message) {
    return {"ERROR", std::move(message)};
}

/// At its end every line must have been one of that logger itself, with a location in the plug-in's `file`.
class PluginLog : public TestSupport::LogCapture {
public:
    PluginLog(std::string logger, std::string file, const log4cxx::LevelPtr& level = log4cxx::Level::getAll())
        : LogCapture(logger.c_str(), level), logger_(std::move(logger)), file_(std::move(file)) {}

    /// For a test that is done twice: the logger stands at `level`, or is off.
    PluginLog(std::string logger, std::string file, bool isLogged,
              const log4cxx::LevelPtr& level = log4cxx::Level::getAll())
        : PluginLog(std::move(logger), std::move(file), isLogged ? level : log4cxx::Level::getOff()) {
        isOff_ = !isLogged;
    }

    ~PluginLog() {
        for (const LogLine& line : lines()) {
            SCOPED_TRACE(line.level + ' ' + line.message);
            EXPECT_EQ(line.logger, logger_);
            EXPECT_EQ(line.file, "BackEnd/NativeCameraKorva/" + file_);
            EXPECT_NE(line.method, "");
            EXPECT_GT(line.line, 0);
        }
    }

    void turnOff() { setLevel(log4cxx::Level::getOff()); }
    /// These are the lines, or none is if the logger was off from the beginning.
    void expect(const Texts& expected) const { EXPECT_EQ(texts(), isOff_ ? Texts{} : expected); }
    Texts troubles() const { return textsFrom(log4cxx::Level::getWarn()); }
    /// The lines whose message begins with `text`.
    Texts linesOf(const std::string& text) const {
        Texts found;
        for (const LogText& line : texts())
            if (line.message.starts_with(text))
                found.push_back(line);
        return found;
    }

private:
    std::string logger_;
    std::string file_;
    bool isOff_ = false;
};

} // namespace PluginLogs
