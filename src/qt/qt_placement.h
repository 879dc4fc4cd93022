#pragma once

// Where a new window opens next to another one.

#include <QPoint>
#include <QRect>
#include <QSize>

class QWidget;

namespace i2cbridge {

// The top-left corner for a window frame of `size` beside the frame `anchor`: to its right if
// it fits on the `available` area, else to its left, else on the side with more room, pushed
// back onto the area. Top edges line up as far as the area allows.
QPoint PlaceBeside(const QRect& anchor, const QSize& size, const QRect& available);

// Moves a window that is about to be shown for the first time beside `anchor`, a shown window,
// on the anchor's screen.
void MoveBeside(QWidget& window, const QWidget& anchor);

}  // namespace i2cbridge
