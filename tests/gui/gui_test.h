#pragma once

// The Qt tests' shared fixture: a rig with the program's windows on it, and one way to read
// what a widget shows, so that each window's binding fits in one table.

#include <gtest/gtest.h>

#include <QtTest>
#include <QtWidgets>
#include <memory>
#include <string>

#include "qt/qt_binding.h"
#include "qt/qt_windows.h"
#include "support/fakes.h"
#include "support/qt_windows.h"

inline void PrintTo(const QString& s, std::ostream* os) {
    *os << '"' << s.toStdString() << '"';
}

namespace i2cbridge::testing {

// What a table row reads from a widget.
enum class Shows { Text, Color, Visible, Enabled, Checked, Background };

inline QString Read(QWidget* w, Shows what) {
    switch (what) {
        case Shows::Text:
            return w->isWindow() ? w->windowTitle() : w->property("text").toString();
        case Shows::Color:
            return dynamic_cast<LampWidget&>(*w).color().name();
        case Shows::Visible:
            return w->isVisible() ? "shown" : "hidden";
        case Shows::Enabled:
            return w->isEnabled() ? "enabled" : "disabled";
        case Shows::Checked:
            return qobject_cast<QAbstractButton*>(w)->isChecked() ? "on" : "off";
        case Shows::Background:
            return w->autoFillBackground() ? w->palette().color(QPalette::Window).name() : "none";
    }
    return {};
}

// Does what a table row's user does inside `window`, steps separated by ';': "click:NAME",
// "dclick:NAME", "menu:NAME" (an action), "type:NAME=TEXT", "enter:NAME=TEXT" (then Enter),
// "key:SEQUENCE" (to the window), "focus:NAME" (the focus moves to the next box), "blur:NAME"
// (to another window).
inline void Do(QWidget* window, const QString& steps) {
    for (const QString& step : steps.split(';', Qt::SkipEmptyParts)) {
        const QString verb = step.section(':', 0, 0), arg = step.section(':', 1);
        const QString name = arg.section('=', 0, 0), text = arg.section('=', 1);
        if (verb == "menu") {
            Child<QAction>(window, name)->trigger();
        } else if (verb == "key") {
            const QKeyCombination key = QKeySequence(arg)[0];
            QTest::keyClick(window, key.key(), key.keyboardModifiers());
        } else if (verb == "click") {  // on a check box's indicator, as the user aims
            QWidget* w = Child(window, name);
            const bool box = qobject_cast<QCheckBox*>(w);
            QTest::mouseClick(w, Qt::LeftButton, {},
                              box ? QPoint(8, w->height() / 2) : w->rect().center());
        } else if (verb == "dclick") {
            QTest::mouseDClick(Child(window, name), Qt::LeftButton);
        } else if (verb == "type" || verb == "enter") {  // replaces the text as the user does
            auto* edit = Child<QLineEdit>(window, name);
            edit->setFocus();
            edit->selectAll();
            QTest::keyClick(edit, Qt::Key_Delete);
            QTest::keyClicks(edit, text);
            if (verb == "enter") QTest::keyClick(edit, Qt::Key_Return);
        } else if (verb == "focus" || verb == "blur") {
            QFocusEvent out(QEvent::FocusOut,
                            verb == "focus" ? Qt::TabFocusReason : Qt::ActiveWindowFocusReason);
            QApplication::sendEvent(Child(window, name), &out);
        } else {
            ADD_FAILURE() << "no step " << step.toStdString();
        }
    }
}

// The started program with its windows; the windows go before the program's models.
struct Gui {
    Rig rig;
    std::unique_ptr<QtWindows> windows;

    Gui() {
        rig.main();
        windows = std::make_unique<QtWindows>(*rig.program);
    }
    ~Gui() {
        windows.reset();
        DestroyClosedWindows();
    }
};

}  // namespace i2cbridge::testing
