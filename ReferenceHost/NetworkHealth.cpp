#include "VantrelCommon/NetworkHealth.h"

std::wstring NetworkHealth::getText() const {
    switch (code_) {
    case pictureCaptured:
        return L"picture captured";
    case captureFailed:
        return L"capture failed";
    case connectionCheckFailed:
        return L"connection check failed";
    default:
        return L"unknown status";
    }
}
