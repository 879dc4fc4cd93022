#pragma once

// Generic binding of control models to Qt widgets: one binder per control kind. A binder
// copies the model into the widget once, then repaints the widget whenever the model reports a
// change, and passes the user's edits and clicks back. Handlers never touch widgets.

#include <QColor>
#include <QEvent>
#include <QWidget>
#include <functional>

#include "foundation/controls.h"

class QLineEdit;
class QLabel;
class QAbstractButton;
class QCheckBox;
class QScrollBar;
class QTabWidget;

namespace i2cbridge {

class LogView;

// A filled circle with a thin border: the status lamps.
class LampWidget : public QWidget {
public:
    explicit LampWidget(QWidget* parent = nullptr, int diameter = 14);
    void setColor(const QColor& c);
    QColor color() const { return color_; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent*) override;

private:
    QColor color_;
    int diameter_;
};

// The colour a lamp shows: its QBColor palette colour, or the light grey of an unpainted lamp.
QColor LampColor(int qbColorIndex);

namespace bind {

// Visibility, enabling and tool tip, for any control on any widget.
void common(Control& model, QWidget* widget);

// Text box: the user's typing updates the model as it happens.
void text(TextBox& model, QLineEdit* widget);
void label(Label& model, QLabel* widget);
void lamp(Lamp& model, LampWidget* widget);
void button(Button& model, QAbstractButton* widget, std::function<void()> onClick);
// A user click sets the model's state first, then runs the handler.
void check(CheckBox& model, QCheckBox* widget, std::function<void()> onClick);
// The log box: the view reads the model's text and is told what was appended; the newest entry
// stays in view.
void log(LogBox& model, LogView* widget);
void scroll(ScrollBar& model, QScrollBar* widget, std::function<void()> onChange);
void geometry(Box& model, QWidget* widget);  // rect in twips, 15 per pixel
// Tab control: the user's choice of page sets the model first, then runs the handler.
void tabs(TabControl& model, QTabWidget* widget, std::function<void()> onClick);
// A window's title follows a caption model; suffix is what the view adds after it.
void windowTitle(Label& model, QWidget* window, const QString& suffix = {});

// Runs action when widget receives an event of the given type (focus out, double click,
// mouse press). The filter is owned by the widget.
void onEvent(QWidget* widget, QEvent::Type type, std::function<void()> action);
// Enter in a text box: the KeyPress handler gets the key code 13.
void onEnter(QLineEdit* widget, std::function<void(int& keyAscii)> keyPress);
// The focus moved to another control of the same window. Switching to another window or
// opening a popup does not count: the box keeps its focus within its own window then.
void onFocusLost(QWidget* widget, std::function<void()> action);
// A click with the left button: pressed and released over the widget.
void onClick(QWidget* widget, std::function<void()> action);

}  // namespace bind

inline constexpr int kTwipsPerPixel = 15;

// The object name of element `index` of a control array, as the window names it:
// "txtBWrite(5)". Tests find widgets by these names.
QString IndexedName(const char* name, int index);

}  // namespace i2cbridge
