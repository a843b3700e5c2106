#include "Camera/CameraSettings.h"

namespace Simulator {

PictureSize pictureSizeOfModel(std::string_view model) {
    if (model == "M615" || model == "M62")
        return {2748, 1836};
    return {1676, 1266};
}

} // namespace Simulator
