#pragma once

// The main window as the user sees it: every widget is bound to its control model in
// FrmI2CGeneral and every user event goes to the model's handler. Widgets are named after
// their controls ("txtI2CAdr", "txtBWrite(5)", "shpUSBCon(0)") so they can be found by name.

#include <QMainWindow>
#include <memory>

#include "qt/qt_model_holder.h"

class QTabWidget;

namespace i2cbridge {

class Program;
class Workbench;
class FrmI2CGeneral;

class MainWindowView : private ModelHolder<FrmI2CGeneral>, public QMainWindow {
public:
    // simulatedBoard adds " [simulated board]" to the caption the model gives.
    // board: how the title names the board the window keeps to; empty when none was chosen.
    MainWindowView(Program& program, bool simulatedBoard, QWidget* parent = nullptr,
                   const QString& board = {});
    ~MainWindowView() override;

    FrmI2CGeneral& model() { return model_; }
    // The widget of a control by its name, e.g. control<QLineEdit>("txtBWrite(3)").
    template <class W>
    W* control(const QString& name) const {
        return findChild<W*>(name);
    }
    // Where the window fits all of its controls without scroll bars.
    QSize fullSize() const;

protected:
    bool event(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    QWidget* buildGeneralPage();
    QWidget* buildLogPage();
    QWidget* buildConnectionArea();
    QWidget* buildAddressArea();
    QWidget* buildCommTest();
    QWidget* buildSingleBytePanel();
    QWidget* buildRegisterFrame(int frame);
    QWidget* buildTableButtons();
    QWidget* buildRawPanel();
    QWidget* buildLampLegend();
    void buildMenus();
    // File > Save Log...: the log into a file, which then receives every new entry.
    void saveLog();
    // Scan Bus runs the model's scan and shows what answered; the trace items are enabled as
    // the model's trace runs or not.
    void scanBus();
    void syncTraceMenu();
    void buildStatusBar(Workbench& wb);
    // The content's size goes to the model (pbinner), then the resize rule runs again.
    void syncInnerSize();
    void applyResize();

    FrmI2CGeneral& model_;
    Workbench& wb_;
    QTabWidget* tabs_ = nullptr;
    QWidget* generalPage_ = nullptr;
    QWidget* inner_ = nullptr;
};

}  // namespace i2cbridge
