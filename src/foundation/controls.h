#pragma once

// Plain-data models of the controls the windows show. Handlers change these; a Qt binder
// (one per control kind) mirrors them into widgets. Each model calls its onChange hook only
// when a value really changes, so a loop that repaints the same lamp thousands of times costs
// nothing in the view.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace i2cbridge {

class Control {
public:
    // Set by the view that shows this control; at most one view per control.
    std::function<void()> onChange;

    bool visible() const { return visible_; }
    void setVisible(bool v) { assign(visible_, v); }
    bool enabled() const { return enabled_; }
    void setEnabled(bool e) { assign(enabled_, e); }
    const std::string& toolTip() const { return toolTip_; }
    void setToolTip(std::string_view t) { assignText(toolTip_, t); }

protected:
    template <class T>
    void assign(T& member, const T& value) {
        if (member == value) return;
        member = value;
        notify();
    }
    void assignText(std::string& member, std::string_view value) {
        if (member == value) return;
        member.assign(value);
        notify();
    }
    void notify() {
        if (onChange) onChange();
    }

private:
    bool visible_ = true;
    bool enabled_ = true;
    std::string toolTip_;
};

class TextBox : public Control {
public:
    TextBox() = default;
    explicit TextBox(std::string_view text, std::string_view tip = {}) : text_(text) {
        setToolTip(tip);
    }
    const std::string& text() const { return text_; }
    void setText(std::string_view t) { assignText(text_, t); }

private:
    std::string text_;
};

// Colours that are not palette lamps (result labels): 0xRRGGBB, or the system's default.
using RgbColor = std::optional<uint32_t>;

class Label : public Control {
public:
    Label() = default;
    explicit Label(std::string_view caption) : caption_(caption) {}
    const std::string& caption() const { return caption_; }
    void setCaption(std::string_view c) { assignText(caption_, c); }
    RgbColor backColor() const { return back_; }
    void setBackColor(RgbColor c) { assign(back_, c); }
    RgbColor foreColor() const { return fore_; }  // nullopt: the system's button-text colour
    void setForeColor(RgbColor c) { assign(fore_, c); }

private:
    std::string caption_;
    RgbColor back_;
    RgbColor fore_;
};

// A filled shape used as a status lamp. Its colour is a QBColor palette index.
class Lamp : public Control {
public:
    // The colour the lamp has before any handler paints it (its design colour).
    static constexpr int kDesignColor = -1;
    int color() const { return color_; }
    void setColor(int qbColorIndex) { assign(color_, qbColorIndex); }

private:
    int color_ = kDesignColor;
};

class Button : public Control {
public:
    Button() = default;
    explicit Button(std::string_view caption, std::string_view tip = {}) : caption_(caption) {
        setToolTip(tip);
    }
    const std::string& caption() const { return caption_; }
    void setCaption(std::string_view c) { assignText(caption_, c); }

private:
    std::string caption_;
};

class CheckBox : public Control {
public:
    CheckBox() = default;
    explicit CheckBox(std::string_view caption, bool checked = false, std::string_view tip = {})
        : caption_(caption), checked_(checked) {
        setToolTip(tip);
    }
    const std::string& caption() const { return caption_; }
    bool checked() const { return checked_; }
    // Changes the state only; whoever sets it decides whether the click handler runs.
    void setChecked(bool c) { assign(checked_, c); }

private:
    std::string caption_;
    bool checked_ = false;
};

// The multi-line log box. It only grows at the end or is emptied, so the view is told what
// was appended instead of re-reading the whole text: appending stays O(1) amortised.
class LogBox : public Control {
public:
    std::function<void(std::string_view appended)> onAppend;
    // The text was emptied, or its start replaced: a view reads it again.
    std::function<void()> onClear;

    const std::string& text() const { return text_; }
    void append(std::string_view s) {
        if (retain_) text_.append(s);
        if (onAppend) onAppend(s);
    }
    void clear() {
        text_.clear();
        if (onClear) onClear();
    }
    // Replaces the first `count` bytes with `head` (the log drops its oldest entries this way).
    // The view is told as for a clear, and reads the text again from its start.
    void replaceFront(std::size_t count, std::string_view head) {
        text_.replace(0, count, head);
        if (onClear) onClear();
    }
    // A front end that streams the text elsewhere (the command line writes each entry to
    // stderr or a file) need not keep it: an overnight run then holds no growing log.
    void setRetain(bool retain) { retain_ = retain; }

private:
    std::string text_;
    bool retain_ = true;
};

// A tab control: which page is current.
class TabControl : public Control {
public:
    int tab() const { return tab_; }
    void setTab(int t) { assign(tab_, t); }

private:
    int tab_ = 0;
};

// A control with no state beyond visibility and enabling (a frame, a timer).
class Plain : public Control {};

// A rectangle in twips (15 per pixel at 96 dpi), for the parts of a window whose geometry is
// behaviour (the scrolling register view).
struct Rect {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
    bool operator==(const Rect&) const = default;
};

class Box : public Control {
public:
    const Rect& rect() const { return rect_; }
    void setRect(const Rect& r) { assign(rect_, r); }

private:
    Rect rect_;
};

// A scroll bar: value and range in the window's own units (twips).
class ScrollBar : public Box {
public:
    int value() const { return value_; }
    void setValue(int v) { assign(value_, v); }
    int max() const { return max_; }
    void setMax(int m) { assign(max_, m); }
    int largeChange() const { return large_; }
    void setLargeChange(int l) { assign(large_, l); }
    int smallChange() const { return small_; }
    void setSmallChange(int s) { assign(small_, s); }

private:
    int value_ = 0;
    int max_ = 0;
    int large_ = 1;
    int small_ = 1;
};

}  // namespace i2cbridge
