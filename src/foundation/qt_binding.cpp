#include "foundation/qt_binding.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextCursor>

#include "foundation/colors.h"

namespace i2cbridge {

namespace {

QString Q(const std::string& s) {
    return QString::fromStdString(s);
}

// Attaches a repaint to the model and detaches it again when the widget goes away first.
template <class M>
void Watch(M& model, QWidget* widget, std::function<void()> refresh) {
    refresh();
    model.onChange = refresh;
    QObject::connect(widget, &QObject::destroyed, [&model]() { model.onChange = nullptr; });
}

void ApplyCommon(const Control& model, QWidget* widget) {
    if (widget->isHidden() == model.visible()) widget->setVisible(model.visible());
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

}  // namespace

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
    QObject::connect(widget, &QLineEdit::textEdited,
                     [&model](const QString& t) { model.setText(t.toStdString()); });
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

void log(LogBox& model, QPlainTextEdit* widget) {
    widget->setReadOnly(true);
    widget->setPlainText(Q(model.text()));
    widget->moveCursor(QTextCursor::End);
    ApplyCommon(model, widget);
    model.onChange = [&model, widget] { ApplyCommon(model, widget); };
    model.onAppend = [widget](std::string_view appended) {
        // The log's line breaks are CR LF; the widget wants one break per line.
        QString text = QString::fromUtf8(appended.data(), static_cast<qsizetype>(appended.size()));
        text.remove(QLatin1Char('\r'));
        QTextCursor cursor(widget->document());
        cursor.movePosition(QTextCursor::End);
        cursor.insertText(text);
        widget->moveCursor(QTextCursor::End);
    };
    model.onClear = [widget] { widget->clear(); };
    QObject::connect(widget, &QObject::destroyed, [&model] {
        model.onChange = nullptr;
        model.onAppend = nullptr;
        model.onClear = nullptr;
    });
}

void scroll(ScrollBar& model, QScrollBar* widget, std::function<void()> onChange) {
    Watch(model, widget, [&model, widget] {
        ApplyCommon(model, widget);
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
        const Rect& r = model.rect();
        const QRect g(r.left / kTwipsPerPixel, r.top / kTwipsPerPixel, r.width / kTwipsPerPixel,
                      r.height / kTwipsPerPixel);
        if (widget->geometry() != g) widget->setGeometry(g);
    });
}

void onEvent(QWidget* widget, QEvent::Type type, std::function<void()> action) {
    widget->installEventFilter(new EventHook(widget, type, std::move(action)));
}

}  // namespace bind
}  // namespace i2cbridge
