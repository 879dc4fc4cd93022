#include "qt/qt_ports.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileDialog>
#include <QMessageBox>
#include <QStringList>
#include <QThread>

namespace i2cbridge {

QtPump::QtPump(BoardDriver& driver, std::function<Clock::time_point()> clock)
    : driver_(driver), clock_(clock ? std::move(clock) : [] { return Clock::now(); }) {
    QObject::connect(&idleDelivery_, &QTimer::timeout, [this] { driver_.deliverEvents(); });
    idleDelivery_.start(50);
}

// The interval counts from the end of the last full yield, so a slow repaint cannot make every
// yield full. A handler run inside a full yield sees the earlier end, so its own first yield
// is full too.
void QtPump::yield() {
    if (!lastFull_ || clock_() - *lastFull_ >= kFullYieldInterval) {
        QCoreApplication::processEvents(QEventLoop::AllEvents);
        lastFull_ = clock_();
    }
    driver_.deliverEvents();
}

void QtPump::sleepMs(int milliseconds) {
    if (milliseconds > 0) QThread::msleep(static_cast<unsigned long>(milliseconds));
}

DateTime QtPump::now() {
    const QDateTime t = QDateTime::currentDateTime();
    return {t.date().year(), t.date().month(),  t.date().day(),
            t.time().hour(), t.time().minute(), t.time().second()};
}

Dialogs::Answer QtDialogs::messageBox(const std::string& text, const std::string& title,
                                      Buttons buttons) {
    const auto choice =
        buttons == Buttons::Ok ? QMessageBox::Ok : (QMessageBox::Ok | QMessageBox::Cancel);
    const auto result = QMessageBox::information(parent, QString::fromStdString(title),
                                                 QString::fromStdString(text), choice);
    return result == QMessageBox::Ok ? Answer::Ok : Answer::Cancel;
}

bool QtDialogs::openFile(FileDialogState& state) {
    return show(state, false);
}
bool QtDialogs::saveFile(FileDialogState& state) {
    return show(state, true);
}

// Filters come as "Text|pattern|Text|pattern". Qt reads the patterns from the parentheses at
// the end of each entry's text, so a text that does not end in its pattern gets it appended;
// "*.*" is given to Qt as "*" so that files without an extension are listed too.
bool QtDialogs::show(FileDialogState& state, bool save) {
    const QStringList parts = QString::fromStdString(state.filter).split('|');
    QStringList filters;
    for (int i = 0; i + 1 < parts.size(); i += 2) {
        QString text = parts[i];
        const QString pattern = parts[i + 1];
        const QString shown = "(" + pattern + ")";
        if (!text.endsWith(shown)) text += " " + shown;
        if (pattern == "*.*") text.replace(text.size() - shown.size(), shown.size(), "(*)");
        filters << text;
    }
    QFileDialog dialog(parent);
    dialog.setOption(QFileDialog::DontUseNativeDialog, true);
    dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    dialog.setOption(QFileDialog::DontConfirmOverwrite,
                     (state.flags & kDialogNoOverwritePrompt) != 0);
    if (!state.title.empty()) dialog.setWindowTitle(QString::fromStdString(state.title));
    if (!filters.isEmpty()) {
        dialog.setNameFilters(filters);
        const int index = state.filterIndex - 1;
        if (index >= 0 && index < filters.size()) dialog.selectNameFilter(filters[index]);
    }
    if (!state.fileName.empty()) dialog.selectFile(QString::fromStdString(state.fileName));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return false;
    state.setFileName(dialog.selectedFiles().first().toStdString());
    return true;
}

}  // namespace i2cbridge
