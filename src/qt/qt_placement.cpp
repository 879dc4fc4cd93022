#include "qt/qt_placement.h"

#include <QScreen>
#include <QWidget>
#include <algorithm>

namespace i2cbridge {

QPoint PlaceBeside(const QRect& anchor, const QSize& size, const QRect& available) {
    const int right = anchor.right() + 1;
    const int left = anchor.left() - size.width();
    int x;
    if (right + size.width() <= available.right() + 1) {
        x = right;
    } else if (left >= available.left()) {
        x = left;
    } else {
        const int roomRight = available.right() + 1 - right;
        const int roomLeft = anchor.left() - available.left();
        x = roomRight >= roomLeft ? available.right() + 1 - size.width() : available.left();
    }
    const int lowest = std::max(available.top(), available.bottom() + 1 - size.height());
    const int y = std::clamp(anchor.top(), available.top(), lowest);
    return {std::max(x, available.left()), y};
}

void MoveBeside(QWidget& window, const QWidget& anchor) {
    const QScreen* screen = anchor.screen();
    if (!screen) return;
    // The new window has no frame yet; the anchor's tells how much the frame adds.
    const QRect frame = anchor.frameGeometry();
    const QRect inner = anchor.geometry();
    const QSize extra(frame.width() - inner.width(), frame.height() - inner.height());
    window.move(PlaceBeside(frame, window.size() + extra, screen->availableGeometry()));
}

}  // namespace i2cbridge
