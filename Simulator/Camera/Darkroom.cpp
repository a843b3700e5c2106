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
    std::erase_if(m_orders, [](const auto& each) { return each.expired(); });
    for (const auto& each : m_orders)
        if (const Order held = each.lock();
            held && !held->failure && held->scene == scene && held->configuration == configuration)
            return held;
    const auto ordered = std::make_shared<PictureOrder>(PictureOrder{scene, configuration, {}, {}});
    m_orders.push_back(ordered);
    return ordered;
}

void Darkroom::work() {
    const Order order = firstUndone();
    if (!order)
        return;
    try {
        if (!m_picture || m_picture->order.lock() != order)
            m_picture = begin(order);
        advance(*order);
    } catch (...) {
        order->failure = std::current_exception();
    }
    if (!order->isDone())
        return;
    m_picture.reset();
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
    for (const auto& each : m_orders)
        if (Order held = each.lock(); held && !held->isDone())
            return held;
    return nullptr;
}

Darkroom::Picture Darkroom::begin(const Order& order) const {
    const Configuration& configuration = order->configuration;
    const auto beginFile = configuration.format == PictureFormat::Png ? beginPng : beginSgi;
    return {order,
            rowsOfScene(order->scene, m_size, configuration.channels(), configuration.exposureUnits, m_seed),
            beginFile(m_size, configuration.channels(), Bytes(answerHeadBytes))};
}

void Darkroom::advance(PictureOrder& order) {
    if (!m_picture->file->makeRoom())
        return;
    std::vector<std::uint16_t> samples(std::size_t{m_size.width} * order.configuration.channels());
    for (std::size_t pixels = 0; pixels < pixelsPerPiece && m_picture->nextRow < m_size.height;
         pixels += m_size.width) {
        m_picture->render(m_picture->nextRow++, samples);
        m_picture->file->addRow(samples);
    }
    if (m_picture->nextRow == m_size.height)
        order.answer = std::make_shared<const Bytes>(encodeImageAnswer(m_picture->file->finish()));
}

void Darkroom::keep(Order order) {
    if (m_kept.size() == keptPictures)
        m_kept.pop_front();
    m_kept.push_back(std::move(order));
}

} // namespace Simulator
