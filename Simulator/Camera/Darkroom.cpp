#include "Camera/Darkroom.h"

#include "Camera/PngWriter.h"
#include "Camera/SgiWriter.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace Simulator {

namespace {

constexpr std::size_t keptPictures = 4;

} // namespace

SharedOrder Darkroom::order(SceneKind scene, const Configuration& configuration) {
    std::erase_if(orders_, [](const auto& each) { return each.expired(); });
    for (const auto& each : orders_)
        if (const Order held = each.lock();
            held && !held->failure && held->scene == scene && held->configuration == configuration)
            return held;
    const auto ordered = std::make_shared<PictureOrder>(PictureOrder{scene, configuration, {}, {}});
    orders_.push_back(ordered);
    return ordered;
}

void Darkroom::work() {
    const Order order = firstUndone();
    if (!order)
        return;
    try {
        if (!picture_ || picture_->order.lock() != order)
            picture_ = begin(order);
        advance(*order);
    } catch (...) {
        order->failure = std::current_exception();
    }
    if (!order->isDone())
        return;
    picture_.reset();
    if (order->answer)
        keep(order);
}

SharedBytes Darkroom::finish(const SharedOrder& order) {
    while (!order->isDone())
        work();
    if (order->failure)
        std::rethrow_exception(order->failure);
    return order->answer;
}

Darkroom::Order Darkroom::firstUndone() const {
    for (const auto& each : orders_)
        if (Order held = each.lock(); held && !held->isDone())
            return held;
    return nullptr;
}

Darkroom::Picture Darkroom::begin(const Order& order) const {
    const Configuration& configuration = order->configuration;
    const auto beginFile = configuration.format == PictureFormat::png ? beginPng : beginSgi;
    return {order,
            rowsOfScene(order->scene, size_, configuration.channels(), configuration.exposureUnits, seed_),
            beginFile(size_, configuration.channels(), Bytes(answerHeadBytes))};
}

void Darkroom::advance(PictureOrder& order) {
    if (!picture_->file->makeRoom())
        return;
    std::vector<std::uint16_t> samples(std::size_t{size_.width} * order.configuration.channels());
    for (std::size_t pixels = 0; pixels < pixelsPerPiece && picture_->nextRow < size_.height;
         pixels += size_.width) {
        picture_->render(picture_->nextRow++, samples);
        picture_->file->addRow(samples);
    }
    if (picture_->nextRow == size_.height)
        order.answer = std::make_shared<const Bytes>(encodeImageAnswer(picture_->file->finish()));
}

void Darkroom::keep(Order order) {
    if (kept_.size() == keptPictures)
        kept_.pop_front();
    kept_.push_back(std::move(order));
}

} // namespace Simulator
