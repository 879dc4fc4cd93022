#include "qt/qt_binding.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QFocusEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTabWidget>

#include "foundation/colors.h"
#include "foundation/display_text.h"
#include "qt/qt_log_view.h"

namespace i2cbridge {

namespace {

// The core keeps the bytes it was given; text that is not UTF-8 came from a Windows file.
QString Q(std::string_view s) {
    return QString::fromStdString(DisplayText(s));
}

// Attaches a repaint to the model and detaches it again when the widget goes away first.
template <class M>
void Watch(M& model, QWidget* widget, std::function<void()> refresh) {
    refresh();
    model.onChange = refresh;
    QObject::connect(widget, &QObject::destroyed, [&model]() { model.onChange = nullptr; });
}

// A widget that was never hidden on purpose shows with its parent; only an explicit hide
// keeps it out of sight. So a hidden model hides the widget unless it is hidden on purpose
// already, and a visible model shows it again only when it is. A widget without a parent is
// never shown from here: it would open as a window of its own.
void ApplyCommon(const Control& model, QWidget* widget) {
    const bool hiddenOnPurpose =
        widget->isHidden() && widget->testAttribute(Qt::WA_WState_ExplicitShowHide);
    if (hiddenOnPurpose == model.visible() && !(model.visible() && widget->isWindow())) {
        widget->setVisible(model.visible());
    }
    if (widget->isEnabled() != model.enabled()) widget->setEnabled(model.enabled());
    const QString tip = Q(model.toolTip());
    if (widget->toolTip() != tip) widget->setToolTip(tip);
}

class EventHook : public QObject {
public:
    EventHook(QObject* parent, QEvent::Type type, std::function<void()> action)
        : QObject(parent), type_(type), action_(std::move(action)) {}

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == type_) action_();
        return false;
    }

private:
    QEvent::Type type_;
    std::function<void()> action_;
};

class FocusLostHook : public QObject {
public:
    FocusLostHook(QObject* parent, std::function<void()> action)
        : QObject(parent), action_(std::move(action)) {}

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() != QEvent::FocusOut) return false;
        const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason) action_();
        return false;
    }

private:
    std::function<void()> action_;
};

class ClickHook : public QObject {
public:
    ClickHook(QWidget* parent, std::function<void()> action)
        : QObject(parent), widget_(parent), action_(std::move(action)) {}

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::MouseButtonPress) {
            pressed_ = static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton;
        } else if (event->type() == QEvent::MouseButtonRelease && pressed_) {
            pressed_ = false;
            const auto* mouse = static_cast<QMouseEvent*>(event);
            if (mouse->button() == Qt::LeftButton &&
                widget_->rect().contains(mouse->position().toPoint())) {
                action_();
            }
        }
        return false;
    }

private:
    QWidget* widget_;
    std::function<void()> action_;
    bool pressed_ = false;
};

QRect Pixels(const Rect& r) {
    return {r.left / kTwipsPerPixel, r.top / kTwipsPerPixel, r.width / kTwipsPerPixel,
            r.height / kTwipsPerPixel};
}

void ApplyGeometry(const Box& model, QWidget* widget) {
    const QRect g = Pixels(model.rect());
    if (widget->geometry() != g) widget->setGeometry(g);
}

}  // namespace

QString IndexedName(const char* name, int index) {
    return QStringLiteral("%1(%2)").arg(QLatin1String(name)).arg(index);
}

LampWidget::LampWidget(QWidget* parent, int diameter)
    : QWidget(parent), color_(LampColor(Lamp::kDesignColor)), diameter_(diameter) {
    setFixedSize(diameter_ + 2, diameter_ + 2);
}

void LampWidget::setColor(const QColor& c) {
    if (c == color_) return;
    color_ = c;
    update();
}

QSize LampWidget::sizeHint() const {
    return {diameter_ + 2, diameter_ + 2};
}

void LampWidget::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(QColor(60, 60, 60), 1));
    p.setBrush(color_);
    p.drawEllipse(QRectF(1, 1, diameter_, diameter_));
}

QColor LampColor(int index) {
    if (index < 0) return QColor(220, 220, 220);
    return QColor::fromRgb(QBColorRgb(index));
}

namespace bind {

void common(Control& model, QWidget* widget) {
    Watch(model, widget, [&model, widget] { ApplyCommon(model, widget); });
}

void text(TextBox& model, QLineEdit* widget) {
    Watch(model, widget, [&model, widget] {
        ApplyCommon(model, widget);
        const QString t = Q(model.text());
        if (widget->text() != t) widget->setText(t);
    });
    QObject::connect(widget, &QLineEdit::textEdited, [&model](const QString& t) {
        model.setText(StoredText(t.toStdString(), model.text()));
    });
}

void label(Label& model, QLabel* widget) {
    const QPalette original = widget->palette();
    Watch(model, widget, [&model, widget, original] {
        ApplyCommon(model, widget);
        const QString c = Q(model.caption());
        if (widget->text() != c) widget->setText(c);
        QPalette pal = original;
        widget->setAutoFillBackground(model.backColor().has_value());
        if (model.backColor()) pal.setColor(QPalette::Window, QColor::fromRgb(*model.backColor()));
        pal.setColor(QPalette::WindowText, model.foreColor()
                                               ? QColor::fromRgb(*model.foreColor())
                                               : original.color(QPalette::ButtonText));
        widget->setPalette(pal);
    });
}

void lamp(Lamp& model, LampWidget* widget) {
    Watch(model, widget, [&model, widget] {
        ApplyCommon(model, widget);
        widget->setColor(LampColor(model.color()));
    });
}

void button(Button& model, QAbstractButton* widget, std::function<void()> onClick) {
    Watch(model, widget, [&model, widget] {
        ApplyCommon(model, widget);
        const QString c = Q(model.caption());
        if (widget->text() != c) widget->setText(c);
    });
    if (onClick) QObject::connect(widget, &QAbstractButton::clicked, [onClick] { onClick(); });
}

void check(CheckBox& model, QCheckBox* widget, std::function<void()> onClick) {
    Watch(model, widget, [&model, widget] {
        ApplyCommon(model, widget);
        const QString c = Q(model.caption());
        if (widget->text() != c) widget->setText(c);
        if (widget->isChecked() != model.checked()) {
            const QSignalBlocker block(widget);
            widget->setChecked(model.checked());
        }
    });
    QObject::connect(widget, &QAbstractButton::clicked, [&model, onClick](bool checked) {
        model.setChecked(checked);
        if (onClick) onClick();
    });
}

void log(LogBox& model, LogView* widget) {
    ApplyCommon(model, widget);
    model.onChange = [&model, widget] { ApplyCommon(model, widget); };
    model.onAppend = [widget](std::string_view) { widget->appended(); };
    model.onClear = [widget] { widget->cleared(); };
    QObject::connect(widget, &QObject::destroyed, [&model] {
        model.onChange = nullptr;
        model.onAppend = nullptr;
        model.onClear = nullptr;
    });
}

void scroll(ScrollBar& model, QScrollBar* widget, std::function<void()> onChange) {
    Watch(model, widget, [&model, widget] {
        ApplyCommon(model, widget);
        ApplyGeometry(model, widget);
        const QSignalBlocker block(widget);
        widget->setRange(0, model.max() / kTwipsPerPixel);
        widget->setPageStep(std::max(1, model.largeChange() / kTwipsPerPixel));
        widget->setSingleStep(std::max(1, model.smallChange() / kTwipsPerPixel));
        widget->setValue(model.value() / kTwipsPerPixel);
    });
    QObject::connect(widget, &QScrollBar::valueChanged, [&model, onChange](int v) {
        model.setValue(v * kTwipsPerPixel);
        if (onChange) onChange();
    });
}

void geometry(Box& model, QWidget* widget) {
    Watch(model, widget, [&model, widget] {
        ApplyCommon(model, widget);
        ApplyGeometry(model, widget);
    });
}

void tabs(TabControl& model, QTabWidget* widget, std::function<void()> onClick) {
    Watch(model, widget, [&model, widget] {
        ApplyCommon(model, widget);
        if (widget->currentIndex() != model.tab()) {
            const QSignalBlocker block(widget);
            widget->setCurrentIndex(model.tab());
        }
    });
    QObject::connect(widget, &QTabWidget::currentChanged, [&model, onClick](int index) {
        model.setTab(index);
        if (onClick) onClick();
    });
}

void windowTitle(Label& model, QWidget* window, const QString& suffix) {
    Watch(model, window, [&model, window, suffix] {
        const QString title = Q(model.caption()) + suffix;
        if (window->windowTitle() != title) window->setWindowTitle(title);
    });
}

void onEvent(QWidget* widget, QEvent::Type type, std::function<void()> action) {
    widget->installEventFilter(new EventHook(widget, type, std::move(action)));
}

void onEnter(QLineEdit* widget, std::function<void(int&)> keyPress) {
    QObject::connect(widget, &QLineEdit::returnPressed, [keyPress] {
        int key = 13;
        keyPress(key);
    });
}

void onFocusLost(QWidget* widget, std::function<void()> action) {
    widget->installEventFilter(new FocusLostHook(widget, std::move(action)));
}

void onClick(QWidget* widget, std::function<void()> action) {
    widget->installEventFilter(new ClickHook(widget, std::move(action)));
}

}  // namespace bind
}  // namespace i2cbridge
