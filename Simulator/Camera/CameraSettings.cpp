#include "Camera/CameraSettings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>
#include <string>
#include <utility>

namespace Simulator {

namespace {

constexpr std::array serviceNames = {
    std::pair{Service::answered, std::string_view("answered")},
    std::pair{Service::silent, std::string_view("silent")},
    std::pair{Service::refused, std::string_view("refused")},
};

constexpr std::uint32_t longestSide = 65535;
constexpr std::uint64_t mostPixels = std::uint64_t{1} << 26;

std::optional<std::uint32_t> sideFromText(std::string_view text) {
    std::uint32_t side = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, side);
    if (failure != std::errc() || stop != end || side == 0 || side > longestSide)
        return std::nullopt;
    return side;
}

} // namespace

PictureSize pictureSizeOfModel(std::string_view model) {
    const auto row = std::ranges::find(models, model, &Model::name);
    return row == models.end() ? models.front().pictures : row->pictures;
}

std::optional<PictureSize> pictureSizeFromText(std::string_view text) {
    const std::size_t cross = text.find('x');
    if (cross == std::string_view::npos)
        return std::nullopt;
    const auto width = sideFromText(text.substr(0, cross));
    const auto height = sideFromText(text.substr(cross + 1));
    if (!width || !height)
        return std::nullopt;
    return PictureSize{*width, *height};
}

void requirePictureSize(PictureSize size) {
    const bool possible = size.width >= 1 && size.width <= longestSide && size.height >= 1 &&
                          size.height <= longestSide && std::uint64_t{size.width} * size.height <= mostPixels;
    if (!possible)
        throw std::invalid_argument("No camera takes pictures of " + std::to_string(size.width) + " x " +
                                    std::to_string(size.height) + " pixels");
}

std::optional<Service> serviceFromText(std::string_view text) {
    const auto row = std::ranges::find(serviceNames, text, [](const auto& each) { return each.second; });
    if (row == serviceNames.end())
        return std::nullopt;
    return row->first;
}

std::string_view describe(Service service) {
    return std::ranges::find(serviceNames, service, [](const auto& each) { return each.first; })->second;
}

} // namespace Simulator
