// The logger of the cameras' embedded intrinsics. These cameras store none, so nothing is logged; the logger
// is obtained all the same, so that a host that lists or configures loggers finds it.

#include <log4cxx/logger.h>

namespace {

const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("Plenar.KorvaCamera.KorvaIntrinsics");

} // namespace
