#pragma once
// Renders the pictures that were asked for, bit by bit, so that nobody waits long for another's picture.

#include "Camera/PictureFile.h"
#include "Camera/Request.h"
#include "Camera/Scene.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <optional>

namespace Simulator {

/// Shared, because a picture of 30 MB is sent to several clients without being copied.
using SharedBytes = std::shared_ptr<const Bytes>;

/// A picture that was asked for.
struct PictureOrder {
    SceneKind scene = SceneKind::grid;
    Configuration configuration;
    SharedBytes answer;         ///< the whole answer to a get request; null until it is rendered
    std::exception_ptr failure; ///< why it never will be; null otherwise

    bool isDone() const { return answer || failure; }
};

/// Whoever asked for a picture holds its order; of an order that nobody holds no more is rendered.
using SharedOrder = std::shared_ptr<const PictureOrder>;

/// Used by one thread. One picture is in the making at any time: the one that was asked for first.
class Darkroom {
public:
    /// So many pixels are rendered at once, or a row where that is longer. A large file's memory comes first.
    static constexpr std::size_t pixelsPerPiece = 4096;

    /// `size` and `seed` of all its pictures.
    Darkroom(PictureSize size, std::uint64_t seed) : size_(size), seed_(seed) {}

    /// Asks for a picture, of a scene other than a file. The same one serves all who want the same; the last
    /// few that were rendered are kept. Renders nothing.
    SharedOrder order(SceneKind scene, const Configuration& configuration);

    /// Renders a piece of the picture that was asked for first; nothing if all are done. What goes wrong
    /// is the order's failure.
    void work();

    /// Works until `order` is done. Throws its failure.
    SharedBytes finish(const SharedOrder& order);

private:
    using Order = std::shared_ptr<PictureOrder>;

    struct Picture {
        std::weak_ptr<PictureOrder> order;
        RowRenderer render;
        std::unique_ptr<PictureFile> file;
        std::uint32_t nextRow = 0;
    };

    Picture begin(const Order& order) const;
    Order firstUndone() const;
    void advance(PictureOrder& order);
    void keep(Order order);

    PictureSize size_;
    std::uint64_t seed_;
    std::deque<std::weak_ptr<PictureOrder>> orders_; ///< in the order in which they came
    std::deque<Order> kept_;
    std::optional<Picture> picture_; ///< in the making
};

} // namespace Simulator
