#include "qt/qt_gpio_window.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QFontDatabase>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>
#include <functional>

#include "app/program.h"
#include "gpio/frm_gpio.h"
#include "qt/qt_binding.h"
#include "qt/qt_model_holder.h"
#include "qt/qt_placement.h"
#include "workbench/workbench.h"

namespace i2cbridge {

class MainWindowView;

namespace {

// Pin rows: PB0..PB7, PC4..PC7, red LED, green LED.
constexpr int kPinRows = 14;

class GpioWindow : private ModelHolder<FrmGPIO>, public QWidget {
public:
    explicit GpioWindow(Program& program)
        : ModelHolder(program.gpioScreenModel()), program_(program), model_(held()) {
        setObjectName("frmGPIO");
        // Only the main window keeps the program running.
        setAttribute(Qt::WA_QuitOnClose, false);
        build();
    }

    ~GpioWindow() override { model_.Caption.onChange = nullptr; }

protected:
    // The screen's controls go with the window; GpioState stays with the Workbench.
    void closeEvent(QCloseEvent* event) override {
        model_.Caption.onChange = nullptr;
        // Only if it is still the Program's screen: a closed one may have been replaced.
        if (program_.hasGpioScreen() && &program_.gpioScreen() == &model_)
            program_.unloadGpioScreen();
        event->accept();
        deleteWhenIdle(*this);
    }

private:
    std::function<void()> handlerOf(std::function<void()> handler) {
        return [this, handler = std::move(handler)] { runHandler(handler); };
    }

    // Every pin row has the same height in all three frames, so a pin's name, enable and data
    // boxes sit on one line across them.
    QWidget* slot(QWidget* content) {
        auto* holder = new QWidget;
        holder->setFixedHeight(rowHeight_);
        auto* layout = new QHBoxLayout(holder);
        layout->setContentsMargins(0, 0, 0, 0);
        if (content) layout->addWidget(content);
        return holder;
    }

    QGroupBox* pinFrame(const char* title, const char* name, QWidget* const (&rows)[kPinRows]) {
        auto* frame = new QGroupBox(QString::fromLatin1(title));
        frame->setObjectName(name);
        auto* layout = new QVBoxLayout(frame);
        layout->setSpacing(2);
        layout->setContentsMargins(10, 8, 10, 10);
        for (QWidget* row : rows) layout->addWidget(slot(row));
        return frame;
    }

    QCheckBox* check(CheckBox& model, const char* name, int index, void (FrmGPIO::*click)(int)) {
        auto* box = new QCheckBox(this);
        box->setObjectName(IndexedName(name, index));
        FrmGPIO& g = model_;
        bind::check(model, box, handlerOf([&g, click, index] { (g.*click)(index); }));
        return box;
    }

    QLineEdit* hexBox(TextBox& model, const char* name, int index) {
        auto* box = new QLineEdit(this);
        box->setObjectName(IndexedName(name, index));
        box->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
        box->setAlignment(Qt::AlignCenter);
        box->setFixedWidth(box->fontMetrics().horizontalAdvance(QStringLiteral("WWW")) + 12);
        bind::text(model, box);
        return box;
    }

    LampWidget* lamp(int index) {
        auto* w = new LampWidget(this);
        w->setObjectName(IndexedName("shpGpioWr", index));
        bind::lamp(model_.shpGpioWr[index], w);
        return w;
    }

    static QLabel* head(const QString& text) {
        auto* l = new QLabel(text);
        l->setAlignment(Qt::AlignCenter);
        return l;
    }

    // PB Hex and PC Hex, each a written (W) and a read-back (R) box with a lamp beside R. Both
    // hex frames build the same grid, so their columns line up one above the other.
    QGroupBox* hexFrame(const char* title, const char* name, std::array<TextBox, 4>& boxes,
                        const char* boxName, int pbLamp, int pcLamp, QLayout* extraRow) {
        auto* frame = new QGroupBox(QString::fromLatin1(title), this);
        frame->setObjectName(name);
        auto* grid = new QGridLayout;
        grid->setHorizontalSpacing(6);
        grid->setVerticalSpacing(4);
        grid->setColumnMinimumWidth(3, 24);
        grid->addWidget(head(QStringLiteral("PB Hex")), 0, 0, 1, 2);
        grid->addWidget(head(QStringLiteral("PC Hex")), 0, 4, 1, 2);
        const QString w = QStringLiteral("W"), r = QStringLiteral("R");
        grid->addWidget(head(w), 1, 0);
        grid->addWidget(head(r), 1, 1);
        grid->addWidget(head(w), 1, 4);
        grid->addWidget(head(r), 1, 5);
        grid->addWidget(hexBox(boxes[0], boxName, 0), 2, 0);
        grid->addWidget(hexBox(boxes[1], boxName, 1), 2, 1);
        grid->addWidget(lamp(pbLamp), 2, 2);
        grid->addWidget(hexBox(boxes[2], boxName, 2), 2, 4);
        grid->addWidget(hexBox(boxes[3], boxName, 3), 2, 5);
        grid->addWidget(lamp(pcLamp), 2, 6);

        auto* centred = new QHBoxLayout;
        centred->addStretch();
        centred->addLayout(grid);
        centred->addStretch();
        auto* layout = new QVBoxLayout(frame);
        layout->setContentsMargins(10, 8, 10, 10);
        layout->setSpacing(6);
        layout->addLayout(centred);
        if (extraRow) layout->addLayout(extraRow);
        return frame;
    }

    void build() {
        FrmGPIO& g = model_;
        {
            QLineEdit probeEdit;
            QCheckBox probeCheck(QStringLiteral("PB0 P1.02"));
            rowHeight_ = std::max(probeEdit.sizeHint().height(), probeCheck.sizeHint().height());
        }

        QWidget* names[kPinRows] = {};
        QWidget* enables[kPinRows] = {};
        QWidget* data[kPinRows] = {};
        for (int i = 0; i < 12; ++i) {
            auto* edit = new QLineEdit(this);
            edit->setObjectName(IndexedName("txtGPIOUserName", i));
            edit->setFixedWidth(
                edit->fontMetrics().horizontalAdvance(QStringLiteral("HVSYNC_POLXX")) + 12);
            bind::text(g.txtGPIOUserName[i], edit);
            names[i] = edit;
        }
        for (int i = 0; i < 8; ++i) {
            enables[i] = check(g.chkOutEn[i], "chkOutEn", i, &FrmGPIO::chkOutEn_Click);
            data[i] = check(g.ChkBData[i], "ChkBData", i, &FrmGPIO::ChkBData_Click);
        }
        for (int i = 0; i < 4; ++i) {
            enables[8 + i] = check(g.chkOutEnc[i], "chkOutEnc", i, &FrmGPIO::chkOutEnc_Click);
            data[8 + i] = check(g.ChkCData[i], "ChkCData", i, &FrmGPIO::ChkCData_Click);
        }
        for (int i = 0; i < 2; ++i) {
            // The LED enables have no handler and stay hidden: the user cannot change them.
            // Parented before binding: a widget without a parent looks hidden already, so the
            // binder would not hide it and the layout would show it later.
            auto* led = new QCheckBox(this);
            led->setObjectName(IndexedName("ChLed1", i));
            bind::check(g.ChLed1[i], led, nullptr);
            enables[12 + i] = led;
            data[12 + i] = check(g.ChKLedData[i], "ChKLedData", i, &FrmGPIO::ChKLedData_Click);
        }

        auto* pins = new QHBoxLayout;
        pins->setSpacing(8);
        pins->addWidget(pinFrame("GPIO Usage", "Frame1", names), 0, Qt::AlignTop);
        pins->addWidget(pinFrame("Enable", "FrOutEn", enables), 0, Qt::AlignTop);
        pins->addWidget(pinFrame("Data", "frameGPIO_Data", data), 0, Qt::AlignTop);

        auto* updateRow = new QHBoxLayout;
        updateRow->addStretch();
        updateRow->addWidget(new QLabel(QStringLiteral("Update Enables")));
        updateRow->addWidget(lamp(0));
        updateRow->addStretch();

        auto* execute = new QGroupBox(QStringLiteral("GPIO Execute"));
        execute->setObjectName("FrGPIOIo");
        auto* executeLayout = new QVBoxLayout(execute);
        executeLayout->setContentsMargins(10, 8, 10, 10);
        auto* writeAll = new QPushButton(this);
        writeAll->setObjectName("cmdGPIO_Write");
        bind::button(g.cmdGPIO_Write, writeAll, handlerOf([&g] { g.cmdGPIO_Write_Click(); }));
        auto* writeData = new QPushButton(this);
        writeData->setObjectName("cmdWrite_GPIO_Data");
        bind::button(g.cmdWrite_GPIO_Data, writeData,
                     handlerOf([&g] { g.cmdWrite_GPIO_Data_Click(); }));
        executeLayout->addWidget(writeAll);
        executeLayout->addWidget(writeData);

        auto* right = new QVBoxLayout;
        right->setSpacing(8);
        right->addWidget(hexFrame("GPIO Output Enables", "Frame_GPIOOUTEN", g.txtPCHex, "txtPCHex",
                                  2, 3, updateRow));
        right->addWidget(
            hexFrame("GPIO Data", "frame_GPIOData", g.txtPCHexData, "txtPCHexData", 4, 5, nullptr));
        right->addWidget(execute);
        right->addStretch();

        // Lamp 1 does not exist on the screen; its model stays hidden and unbound.
        auto* root = new QHBoxLayout(this);
        root->setContentsMargins(10, 10, 10, 10);
        root->setSpacing(12);
        root->addLayout(pins);
        root->addLayout(right);

        setWindowTitle(QString::fromStdString(g.Caption.caption()));
        g.Caption.onChange = [this, &g] {
            setWindowTitle(QString::fromStdString(g.Caption.caption()));
        };
    }

    Program& program_;
    FrmGPIO& model_;
    int rowHeight_ = 24;
};

}  // namespace

QWidget* CreateGpioWindow(Program& program) {
    return new GpioWindow(program);
}

}  // namespace i2cbridge
