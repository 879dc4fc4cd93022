#pragma once

// The program log's view. The log only grows at its end or is emptied, and an overnight run
// writes millions of entries, so the view keeps no copy of the text: it reads the model's text,
// remembers where each line starts, and lays out only the lines in sight. An entry costs the
// same whether the log page is shown or not, and a few bytes.

#include <QAbstractScrollArea>
#include <string>
#include <vector>

namespace i2cbridge {

class LogView : public QAbstractScrollArea {
public:
    // `text` is the model's text; it outlives the view.
    explicit LogView(const std::string& text, QWidget* parent = nullptr);

    // The text grew at its end: the new lines are counted and the newest comes into view.
    void appended();
    void cleared();

    // What the view shows: every line of the text, without carriage returns.
    QString toPlainText() const;
    // The lines the user selected (by dragging, or all with Ctrl+A), or an empty text.
    QString selectedText() const;
    int lineCount() const { return static_cast<int>(starts_.size()); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    QString line(int index) const;
    int lineAt(int y) const;
    // Brings the scroll bars up to date with the text; a hidden view waits until it shows.
    void sync();
    void select(int first, int last);
    void copy() const;

    const std::string& text_;
    std::vector<std::size_t> starts_{0};  // where each line starts in the text
    std::size_t scanned_ = 0;             // how far the text has been split into lines
    std::size_t longest_ = 0;             // the longest line in bytes, for the horizontal bar
    bool syncPending_ = false;
    int anchor_ = -1;  // selection: the line where the drag began, and the lines selected
    int selFirst_ = -1;
    int selLast_ = -1;
};

}  // namespace i2cbridge
