#include "Platform/ErrorText.h"

std::string Platform::errorText(const std::error_code& code) {
    return code.message();
}

std::string Platform::errorText(std::errc code) {
    return std::make_error_code(code).message();
}
