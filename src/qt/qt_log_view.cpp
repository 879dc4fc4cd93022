#include "qt/qt_log_view.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QTimer>
#include <algorithm>

#include "foundation/display_text.h"

namespace i2cbridge {

namespace {

constexpr int kMargin = 4;  // pixels left of the text

QString Shown(std::string_view bytes) {
    QString text = QString::fromStdString(DisplayText(bytes));
    text.remove(QLatin1Char('\r'));
    return text;
}

}  // namespace

LogView::LogView(const std::string& text, QWidget* parent)
    : QAbstractScrollArea(parent), text_(text) {
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setCursor(Qt::IBeamCursor);
    viewport()->setBackgroundRole(QPalette::Base);
    appended();
}

void LogView::appended() {
    const std::size_t end = text_.size();
    std::size_t lineStart = starts_.back();
    for (std::size_t pos = text_.find('\n', scanned_); pos < end; pos = text_.find('\n', pos + 1)) {
        longest_ = std::max(longest_, pos - lineStart);
        lineStart = pos + 1;
        starts_.push_back(lineStart);
    }
    longest_ = std::max(longest_, end - lineStart);
    scanned_ = end;
    // Many entries can arrive between two paints; the bars are set once for all of them.
    if (!syncPending_ && isVisible()) {
        syncPending_ = true;
        QTimer::singleShot(0, this, [this] { sync(); });
    }
}

void LogView::cleared() {
    starts_.assign(1, 0);
    scanned_ = 0;
    longest_ = 0;
    anchor_ = selFirst_ = selLast_ = -1;
    appended();
    sync();
}

QString LogView::toPlainText() const {
    return Shown(text_);
}

QString LogView::line(int index) const {
    const std::size_t begin = starts_[index];
    const std::size_t end =
        index + 1 < lineCount() ? starts_[index + 1] - 1 : std::min(scanned_, text_.size());
    return Shown(std::string_view(text_).substr(begin, end - begin));
}

QString LogView::selectedText() const {
    if (selFirst_ < 0) return {};
    QStringList lines;
    for (int i = selFirst_; i <= selLast_; ++i) lines << line(i);
    return lines.join(QLatin1Char('\n'));
}

int LogView::lineAt(int y) const {
    const int row = y / std::max(1, fontMetrics().lineSpacing());
    return std::clamp(verticalScrollBar()->value() + row, 0, lineCount() - 1);
}

void LogView::sync() {
    syncPending_ = false;
    const QFontMetrics metrics = fontMetrics();
    const int rows = std::max(1, viewport()->height() / std::max(1, metrics.lineSpacing()));
    QScrollBar* v = verticalScrollBar();
    v->setPageStep(rows);
    v->setRange(0, std::max(0, lineCount() - rows));
    v->setValue(v->maximum());  // the newest entry stays in view
    QScrollBar* h = horizontalScrollBar();
    const int widest = static_cast<int>(longest_) * metrics.averageCharWidth() + 2 * kMargin;
    h->setPageStep(viewport()->width());
    h->setSingleStep(metrics.averageCharWidth() * 4);
    h->setRange(0, std::max(0, widest - viewport()->width()));
    viewport()->update();
}

void LogView::paintEvent(QPaintEvent*) {
    QPainter painter(viewport());
    const QFontMetrics metrics = fontMetrics();
    const int height = metrics.lineSpacing();
    const int x = kMargin - horizontalScrollBar()->value();
    const int first = verticalScrollBar()->value();
    const QPalette& pal = palette();
    for (int i = first, y = 0; i < lineCount() && y < viewport()->height(); ++i, y += height) {
        const bool selected = i >= selFirst_ && i <= selLast_;
        if (selected) painter.fillRect(0, y, viewport()->width(), height, pal.highlight());
        painter.setPen(selected ? pal.color(QPalette::HighlightedText) : pal.color(QPalette::Text));
        painter.drawText(x, y + metrics.ascent(), line(i));
    }
}

void LogView::resizeEvent(QResizeEvent* event) {
    QAbstractScrollArea::resizeEvent(event);
    sync();
}

void LogView::showEvent(QShowEvent* event) {
    QAbstractScrollArea::showEvent(event);
    sync();
}

void LogView::changeEvent(QEvent* event) {
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::FontChange) sync();
}

void LogView::select(int first, int last) {
    selFirst_ = std::min(first, last);
    selLast_ = std::max(first, last);
    viewport()->update();
}

void LogView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    anchor_ = lineAt(event->position().toPoint().y());
    select(anchor_, anchor_);
}

void LogView::mouseMoveEvent(QMouseEvent* event) {
    if (anchor_ < 0 || !(event->buttons() & Qt::LeftButton)) return;
    select(anchor_, lineAt(event->position().toPoint().y()));
}

void LogView::copy() const {
    if (selFirst_ >= 0) QApplication::clipboard()->setText(selectedText());
}

void LogView::keyPressEvent(QKeyEvent* event) {
    if (event == QKeySequence::Copy) {
        copy();
    } else if (event == QKeySequence::SelectAll) {
        select(0, lineCount() - 1);
    } else {
        QAbstractScrollArea::keyPressEvent(event);
    }
}

void LogView::contextMenuEvent(QContextMenuEvent* event) {
    QMenu menu;
    QAction* copyAction = menu.addAction(QStringLiteral("Copy"), [this] { copy(); });
    copyAction->setEnabled(selFirst_ >= 0);
    menu.addAction(QStringLiteral("Select All"), [this] { select(0, lineCount() - 1); });
    menu.exec(event->globalPos());
}

}  // namespace i2cbridge
