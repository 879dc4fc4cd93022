#include "qt/qt_main_window.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QFontDatabase>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollBar>
#include <QStatusBar>
#include <QTabWidget>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <algorithm>
#include <cstdlib>
#include <functional>

#include "app/program.h"
#include "foundation/colors.h"
#include "foundation/display_text.h"
#include "foundation/hex_text.h"
#include "main_window/frm_i2c_general.h"
#include "qt/qt_binding.h"
#include "qt/qt_log_view.h"
#include "workbench/bus_tools.h"
#include "workbench/workbench.h"

namespace i2cbridge {

namespace {

// The band above the register view and the scroll bars' thickness, as the model lays them
// out, in pixels.
constexpr int kBandPixels = (400 + kTwipsPerPixel - 1) / kTwipsPerPixel;
constexpr int kScrollBarPixels = (255 + kTwipsPerPixel - 1) / kTwipsPerPixel;
constexpr int kRowsPerFrame = kRegisterRows / 2;

QFont MonoFont() {
    return QFontDatabase::systemFont(QFontDatabase::FixedFont);
}

// A box for a few hexadecimal digits: monospace, centred, just wide enough.
QLineEdit* HexBox(const QString& name, int chars, bool readOnly = false) {
    auto* box = new QLineEdit;
    box->setObjectName(name);
    box->setFont(MonoFont());
    box->setAlignment(Qt::AlignCenter);
    const QFontMetrics metrics(box->font());
    box->setFixedWidth(metrics.horizontalAdvance(QString(chars, QLatin1Char('0'))) + 18);
    if (readOnly) {
        box->setReadOnly(true);
        box->setFocusPolicy(Qt::ClickFocus);
        // A display, not an entry: the window's own background instead of the entry white.
        QPalette pal = box->palette();
        pal.setColor(QPalette::Base, pal.color(QPalette::Window).lighter(104));
        box->setPalette(pal);
    }
    return box;
}

// Widgets of the grids keep their place when a handler hides them, so rows never shift.
template <class W>
W* KeepPlace(W* widget) {
    QSizePolicy policy = widget->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    widget->setSizePolicy(policy);
    return widget;
}

LampWidget* MakeLamp(const QString& name) {
    auto* lamp = KeepPlace(new LampWidget);
    lamp->setObjectName(name);
    return lamp;
}

// A lamp with its caption to the right.
QWidget* LampWithCaption(LampWidget* lamp, QLabel* caption) {
    auto* holder = new QWidget;
    auto* row = new QHBoxLayout(holder);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(5);
    row->addWidget(lamp);
    row->addWidget(caption);
    return holder;
}

// A label that shows a result like a box does: sunken, monospace, centred.
QLabel* ResultLabel(const QString& name, int chars) {
    auto* label = new QLabel;
    label->setObjectName(name);
    label->setFont(MonoFont());
    label->setAlignment(Qt::AlignCenter);
    label->setFrameShape(QFrame::StyledPanel);
    label->setFrameShadow(QFrame::Sunken);
    const QFontMetrics metrics(label->font());
    label->setFixedWidth(metrics.horizontalAdvance(QString(chars, QLatin1Char('0'))) + 18);
    label->setFixedHeight(QLineEdit().sizeHint().height());
    return KeepPlace(label);
}

QPushButton* MakeButton(const QString& name) {
    auto* button = new QPushButton;
    button->setObjectName(name);
    return button;
}

// The wheel over the register view turns the scroll bar it would move, which scrolls the view
// through the model as dragging the bar does. Vertical first; a hidden bar does not move.
class WheelToScrollBars : public QObject {
public:
    WheelToScrollBars(QWidget* page, QScrollBar* vertical, QScrollBar* horizontal)
        : QObject(page), vertical_(vertical), horizontal_(horizontal) {}

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() != QEvent::Wheel) return false;
        const QPoint delta = static_cast<QWheelEvent*>(event)->angleDelta();
        const bool sideways = std::abs(delta.x()) > std::abs(delta.y());
        QScrollBar* bar = sideways || vertical_->isHidden() ? horizontal_ : vertical_;
        if (bar->isHidden()) return false;
        QCoreApplication::sendEvent(bar, event);
        return true;
    }

private:
    QScrollBar* vertical_;
    QScrollBar* horizontal_;
};

// The general page reports the size that shows every control without scroll bars, so the
// window's own size hint is the size that fits the whole register view.
class ScrollPage : public QWidget {
public:
    std::function<QSize()> hint;
    QSize sizeHint() const override { return hint ? hint() : QWidget::sizeHint(); }
};

}  // namespace

MainWindowView::MainWindowView(Program& program, bool simulatedBoard, QWidget* parent,
                               const QString& board)
    : ModelHolder(program.mainWindowModel()), QMainWindow(parent), model_(held()), wb_(program.wb) {
    setObjectName(QStringLiteral("frmI2C_General"));
    QString suffix = simulatedBoard ? QStringLiteral(" [simulated board]") : QString();
    if (!board.isEmpty()) suffix += QStringLiteral(" [board ") + board + QStringLiteral("]");
    bind::windowTitle(model_.Caption, this, suffix);

    tabs_ = new QTabWidget;
    tabs_->setObjectName(QStringLiteral("SSTab1"));
    tabs_->addTab(buildGeneralPage(), QStringLiteral("General I2C Comm"));
    tabs_->addTab(buildLogPage(), QStringLiteral("Program Log"));
    bind::tabs(model_.SSTab1, tabs_, [this] { model_.SSTab1_Click(); });
    setCentralWidget(tabs_);
    buildMenus();
    buildStatusBar(program.wb);

    syncInnerSize();
}

MainWindowView::~MainWindowView() = default;

QSize MainWindowView::fullSize() const {
    return sizeHint();
}

QWidget* MainWindowView::buildGeneralPage() {
    FrmI2CGeneral& m = model_;
    auto* page = new ScrollPage;
    generalPage_ = page;
    page->setObjectName(QStringLiteral("GeneralPage"));

    // PbForm holds the legend band and the viewport pbouter; pbinner, the content, moves
    // inside pbouter as the scroll bars say. Their rectangles come from the model's resize
    // rule; the view only supplies pbinner's size.
    auto* pbForm = new QWidget(page);
    pbForm->setObjectName(QStringLiteral("PbForm"));
    auto* band = new QVBoxLayout(pbForm);
    band->setContentsMargins(8, 0, 8, 0);
    band->setSpacing(0);
    auto* legend = buildLampLegend();
    legend->setFixedHeight(kBandPixels);
    band->addWidget(legend);
    band->addStretch();

    auto* pbouter = new QWidget(pbForm);
    pbouter->setObjectName(QStringLiteral("pbouter"));
    inner_ = new QWidget(pbouter);
    inner_->setObjectName(QStringLiteral("pbinner"));

    auto* content = new QVBoxLayout(inner_);
    content->setContentsMargins(8, 6, 8, 8);
    content->setSpacing(8);
    content->setSizeConstraint(QLayout::SetMinimumSize);

    auto* top = new QHBoxLayout;
    top->setSpacing(8);
    top->addWidget(buildConnectionArea());
    top->addWidget(buildAddressArea());
    top->addWidget(buildCommTest());
    top->addStretch();
    content->addLayout(top);

    auto* middle = new QHBoxLayout;
    middle->setSpacing(8);
    auto* left = new QVBoxLayout;
    left->setSpacing(8);
    left->addWidget(buildSingleBytePanel());
    left->addWidget(buildRawPanel());
    left->addStretch();
    middle->addLayout(left);
    auto* table = new QVBoxLayout;
    table->setSpacing(6);
    auto* frames = new QHBoxLayout;
    frames->setSpacing(8);
    frames->addWidget(buildRegisterFrame(0));
    frames->addWidget(buildRegisterFrame(1));
    table->addLayout(frames);
    middle->addLayout(table);
    middle->addStretch();
    content->addLayout(middle);
    content->addStretch();

    auto* vscroll = new QScrollBar(Qt::Vertical, page);
    vscroll->setObjectName(QStringLiteral("VScroll1"));
    auto* hscroll = new QScrollBar(Qt::Horizontal, page);
    hscroll->setObjectName(QStringLiteral("HScroll1"));

    bind::geometry(m.PbForm, pbForm);
    bind::geometry(m.pbouter, pbouter);
    bind::geometry(m.pbinner, inner_);
    bind::scroll(m.VScroll1, vscroll, [&m] { m.VScroll1_Change(); });
    bind::scroll(m.HScroll1, hscroll, [&m] { m.HScroll1_Change(); });
    page->installEventFilter(new WheelToScrollBars(page, vscroll, hscroll));

    page->hint = [this] {
        const QSize content = inner_->sizeHint();
        return QSize(content.width() + kScrollBarPixels,
                     content.height() + kBandPixels + kScrollBarPixels);
    };
    bind::onEvent(page, QEvent::Resize, [this] { applyResize(); });
    bind::onEvent(inner_, QEvent::LayoutRequest, [this] { syncInnerSize(); });

    // Read All, Write All and Exit sit below the scrolling view, so that they stay in sight
    // on a screen too low for the whole register table.
    auto* tab = new QWidget;
    tab->setObjectName(QStringLiteral("GeneralTab"));
    auto* column = new QVBoxLayout(tab);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(page, 1);
    auto* buttons = buildTableButtons();
    buttons->setContentsMargins(8, 4, 8, 6);
    // The row does not widen the window: a window narrower than the row cuts it at the right,
    // as the register view is cut and scrolled.
    buttons->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    column->addWidget(buttons);
    return tab;
}

QWidget* MainWindowView::buildLampLegend() {
    auto* legend = new QWidget;
    auto* row = new QHBoxLayout(legend);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    row->addStretch();
    auto* title = new QLabel(QStringLiteral("Lamps:"));
    row->addWidget(title);
    const std::pair<int, const char*> entries[] = {{qb::kLightGreen, "success"},
                                                   {qb::kGreen, "next success"},
                                                   {qb::kLightRed, "failure / NAK"},
                                                   {qb::kBlack, "off"}};
    for (const auto& [color, text] : entries) {
        auto* lamp = new LampWidget(nullptr, 10);
        lamp->setColor(LampColor(color));
        row->addSpacing(6);
        row->addWidget(lamp);
        row->addWidget(new QLabel(QLatin1String(text)));
    }
    QPalette pal = legend->palette();
    pal.setColor(QPalette::WindowText, pal.color(QPalette::PlaceholderText));
    legend->setPalette(pal);
    return legend;
}

QWidget* MainWindowView::buildConnectionArea() {
    FrmI2CGeneral& m = model_;
    auto* group = new QGroupBox(QStringLiteral("USB Connection"));
    auto* box = new QVBoxLayout(group);
    box->setSpacing(6);

    auto* manualHeading = new QLabel;
    manualHeading->setObjectName(QStringLiteral("lblUSBConnect"));
    bind::label(m.lblUSBConnect, manualHeading);
    box->addWidget(manualHeading);

    auto* buttons = new QHBoxLayout;
    auto* connect = MakeButton(QStringLiteral("cmdUSBConnect"));
    auto* disconnect = MakeButton(QStringLiteral("cmdUSBDisconnect"));
    bind::button(m.cmdUSBConnect, connect, [&m] { m.cmdUSBConnect_Click(); });
    bind::button(m.cmdUSBDisconnect, disconnect, [&m] { m.cmdUSBDisconnect_Click(); });
    buttons->addWidget(connect);
    buttons->addWidget(disconnect);
    buttons->addSpacing(12);
    for (int i = 0; i < 2; ++i) {
        auto* lamp = MakeLamp(IndexedName("shpUSBCon", i));
        bind::lamp(m.shpUSBCon[i], lamp);
        buttons->addWidget(LampWithCaption(
            lamp, new QLabel(i == 0 ? QStringLiteral("Open") : QStringLiteral("Closed"))));
    }
    buttons->addStretch();
    box->addLayout(buttons);

    auto* manual = new QCheckBox;
    manual->setObjectName(QStringLiteral("ChKManUsbConn"));
    bind::check(m.ChKManUsbConn, manual, [&m] { m.ChKManUsbConn_Click(); });
    box->addWidget(manual);

    auto* lamps = new QHBoxLayout;
    lamps->setSpacing(14);
    auto* handle = MakeLamp(QStringLiteral("ShpHandleStatus"));
    auto* attach = MakeLamp(QStringLiteral("ShpAttach"));
    auto* logStatus = MakeLamp(QStringLiteral("shpLogStatus"));
    bind::lamp(m.ShpHandleStatus, handle);
    bind::lamp(m.ShpAttach, attach);
    bind::lamp(m.shpLogStatus, logStatus);
    lamps->addWidget(LampWithCaption(handle, new QLabel(QStringLiteral("Handle"))));
    lamps->addWidget(LampWithCaption(attach, new QLabel(QStringLiteral("USB Attach"))));
    lamps->addWidget(LampWithCaption(logStatus, new QLabel(QStringLiteral("USB Comm Log Status"))));
    lamps->addStretch();
    box->addLayout(lamps);

    auto* driverRow = new QHBoxLayout;
    driverRow->addWidget(new QLabel(QStringLiteral("Driver handle")));
    auto* driver = new QLineEdit;
    driver->setObjectName(QStringLiteral("txthDriver"));
    driver->setReadOnly(true);
    driver->setFocusPolicy(Qt::ClickFocus);
    driver->setFixedWidth(
        driver->fontMetrics().horizontalAdvance(QStringLiteral("Not Initialized")) + 20);
    bind::text(m.txthDriver, driver);
    driverRow->addWidget(driver);
    auto* notice = KeepPlace(MakeButton(QStringLiteral("cbNoc")));
    notice->setMinimumWidth(
        notice->fontMetrics().horizontalAdvance(QStringLiteral("USB Board Interface Closed")) + 24);
    bind::button(m.cbNoc, notice, nullptr);
    driverRow->addWidget(notice);
    driverRow->addStretch();
    box->addLayout(driverRow);
    return group;
}

QWidget* MainWindowView::buildAddressArea() {
    FrmI2CGeneral& m = model_;
    auto* group = new QGroupBox(QStringLiteral("I2C Address"));
    auto* grid = new QGridLayout(group);
    grid->setVerticalSpacing(6);

    auto* address = HexBox(QStringLiteral("txtI2CAdr"), 4);
    bind::text(m.txtI2CAdr, address);
    bind::onEnter(address, [&m](int& key) { m.txtI2CAdr_KeyPress(key); });
    bind::onFocusLost(address, [&m] { m.txtI2CAdr_LostFocus(); });
    auto* writeAddress = HexBox(QStringLiteral("txtActualWrtAddress"), 4, true);
    auto* readAddress = HexBox(QStringLiteral("txtActualReadAddress"), 4, true);
    bind::text(m.txtActualWrtAddress, writeAddress);
    bind::text(m.txtActualReadAddress, readAddress);

    grid->addWidget(new QLabel(QStringLiteral("Enter I2C Address")), 0, 0);
    grid->addWidget(address, 0, 1);
    grid->addWidget(new QLabel(QStringLiteral("Actual I2C Write Address")), 1, 0);
    grid->addWidget(writeAddress, 1, 1);
    grid->addWidget(new QLabel(QStringLiteral("Actual I2C Read Address")), 2, 0);
    grid->addWidget(readAddress, 2, 1);
    grid->setRowStretch(3, 1);
    return group;
}

QWidget* MainWindowView::buildCommTest() {
    FrmI2CGeneral& m = model_;
    auto* group = new QGroupBox(QStringLiteral("Communications Test"));
    auto* grid = new QGridLayout(group);
    grid->setHorizontalSpacing(10);

    auto* test = MakeButton(QStringLiteral("cmdTestComm"));
    bind::button(m.cmdTestComm, test, [&m] { m.cmdTestComm_Click(); });
    grid->addWidget(new QLabel(QStringLiteral("Transfer Count")), 0, 1, Qt::AlignCenter);
    grid->addWidget(new QLabel(QStringLiteral("Value")), 0, 2, Qt::AlignCenter);
    grid->addWidget(new QLabel(QStringLiteral("Result")), 0, 3, Qt::AlignCenter);
    grid->addWidget(test, 1, 0);
    for (int i = 0; i < 2; ++i) {
        auto* answer = HexBox(IndexedName("txtTstReg", i), 3, true);
        bind::text(m.txtTstReg[i], answer);
        grid->addWidget(answer, 1, 1 + i, Qt::AlignCenter);
    }
    auto* result = ResultLabel(QStringLiteral("lblCommTest"), 6);
    bind::label(m.lblCommTest, result);
    grid->addWidget(result, 1, 3, Qt::AlignCenter);
    grid->setRowStretch(2, 1);
    return group;
}

QWidget* MainWindowView::buildSingleBytePanel() {
    FrmI2CGeneral& m = model_;
    auto* group = new QGroupBox(QStringLiteral("Single Byte Transfer User Panel"));
    group->setObjectName(QStringLiteral("FRGEN"));
    auto* box = new QVBoxLayout(group);
    box->setSpacing(8);

    auto* registerRow = new QHBoxLayout;
    registerRow->addWidget(new QLabel(QStringLiteral("Device Register Address")));
    auto* reg = HexBox(QStringLiteral("txtUserRegAdr"), 4);
    bind::text(m.txtUserRegAdr, reg);
    bind::onEnter(reg, [&m](int& key) { m.txtUserRegAdr_KeyPress(key); });
    registerRow->addWidget(reg);
    registerRow->addStretch();
    box->addLayout(registerRow);

    auto* transfers = new QGridLayout;
    transfers->setHorizontalSpacing(8);
    transfers->setVerticalSpacing(6);
    transfers->addWidget(new QLabel(QStringLiteral("Data")), 0, 0, Qt::AlignCenter);
    for (int i = 0; i < 2; ++i) {
        auto* data = HexBox(IndexedName("txtsbwr", i), 4);
        bind::text(m.txtsbwr[i], data);
        bind::onEnter(data, [&m, i](int& key) { m.txtsbwr_KeyPress(i, key); });
        auto* write = MakeButton(IndexedName("cmdWrite1Byte", i));
        bind::button(m.cmdWrite1Byte[i], write, [&m, i] { m.cmdWrite1Byte_Click(i); });
        auto* lamp = MakeLamp(IndexedName("Shape2", i));
        bind::lamp(m.Shape2[i], lamp);
        transfers->addWidget(data, 1 + i, 0);
        transfers->addWidget(write, 1 + i, 1);
        transfers->addWidget(lamp, 1 + i, 2);
    }
    auto* read = MakeButton(QStringLiteral("cmdRead"));
    bind::button(m.cmdRead, read, [&m] { m.cmdRead_Click(); });
    auto* readLamp = MakeLamp(IndexedName("Shape2", 2));
    bind::lamp(m.Shape2[2], readLamp);
    transfers->addWidget(read, 3, 1);
    transfers->addWidget(readLamp, 3, 2);
    transfers->setColumnStretch(3, 1);
    box->addLayout(transfers);

    auto* result = new QGridLayout;
    result->setHorizontalSpacing(10);
    result->addWidget(new QLabel(QStringLiteral("Transfer Count")), 0, 0, Qt::AlignCenter);
    result->addWidget(new QLabel(QStringLiteral("Value")), 0, 1, Qt::AlignCenter);
    auto* count = ResultLabel(QStringLiteral("lblReadCount"), 4);
    bind::label(m.lblReadCount, count);
    auto* value = HexBox(QStringLiteral("txtReadByte"), 3, true);
    bind::text(m.txtReadByte, value);
    auto* nakLamp = MakeLamp(QStringLiteral("Shape3"));
    bind::lamp(m.Shape3, nakLamp);
    auto* nak = KeepPlace(new QLabel);
    nak->setObjectName(QStringLiteral("lblNak"));
    bind::label(m.lblNak, nak);
    result->addWidget(count, 1, 0, Qt::AlignCenter);
    result->addWidget(value, 1, 1, Qt::AlignCenter);
    result->addWidget(LampWithCaption(nakLamp, nak), 1, 2);
    result->setColumnStretch(3, 1);
    box->addLayout(result);
    return group;
}

QWidget* MainWindowView::buildRegisterFrame(int frame) {
    FrmI2CGeneral& m = model_;
    auto* group = new QGroupBox(QStringLiteral("Active Device Registers"));
    group->setObjectName(IndexedName("Frame1", frame));
    bind::common(m.Frame1[frame], group);
    auto* grid = new QGridLayout(group);
    grid->setHorizontalSpacing(6);
    grid->setVerticalSpacing(3);

    // Column heads, numbered as the window numbers them: Write, Read, Adr, Description.
    const char* heads[] = {"Write", "Read", "Adr", "Description"};
    const int columns[] = {2, 4, 0, 1};
    for (int k = 0; k < 4; ++k) {
        auto* head = new QLabel(QLatin1String(heads[k]));
        head->setObjectName(IndexedName("Label2", 4 * frame + k));
        grid->addWidget(head, 0, columns[k],
                        k == 3 ? Qt::AlignLeft | Qt::AlignVCenter : Qt::AlignCenter);
    }

    for (int i = 0; i < kRowsPerFrame; ++i) {
        const int r = frame * kRowsPerFrame + i;
        auto* adr = KeepPlace(HexBox(IndexedName("Reg_Adr", r), 4));
        auto* desc = KeepPlace(new QLineEdit);
        desc->setObjectName(IndexedName("Reg_Desc", r));
        desc->setMinimumWidth(desc->fontMetrics().horizontalAdvance(QLatin1Char('x')) * 26);
        auto* write = KeepPlace(HexBox(IndexedName("txtBWrite", r), 4));
        auto* writeLamp = MakeLamp(IndexedName("shpBwrite", r));
        auto* read = KeepPlace(HexBox(IndexedName("txtRdByte", r), 4, true));
        read->setCursor(Qt::PointingHandCursor);
        auto* readLamp = MakeLamp(IndexedName("Shape1", r));

        bind::text(m.Reg_Adr[r], adr);
        bind::text(m.Reg_Desc[r], desc);
        bind::text(m.txtBWrite[r], write);
        bind::onEnter(write, [&m, r](int& key) { m.txtBWrite_KeyPress(r, key); });
        bind::onEvent(write, QEvent::MouseButtonDblClick, [&m, r] { m.txtBWrite_DblClick(r); });
        bind::lamp(m.shpBwrite[r], writeLamp);
        bind::text(m.txtRdByte[r], read);
        bind::onClick(read, [&m, r] { m.txtRdByte_Click(r); });
        bind::lamp(m.Shape1[r], readLamp);

        grid->addWidget(adr, 1 + i, 0);
        grid->addWidget(desc, 1 + i, 1);
        grid->addWidget(write, 1 + i, 2);
        grid->addWidget(writeLamp, 1 + i, 3);
        grid->addWidget(read, 1 + i, 4);
        grid->addWidget(readLamp, 1 + i, 5);
    }
    grid->setColumnStretch(1, 1);
    return group;
}

QWidget* MainWindowView::buildTableButtons() {
    FrmI2CGeneral& m = model_;
    auto* holder = new QWidget;
    holder->setObjectName(QStringLiteral("TableButtons"));
    auto* row = new QHBoxLayout(holder);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    struct Entry {
        const char* name;
        Button& model;
        std::function<void()> click;
    };
    const Entry entries[] = {
        {"cmdReadRegs", m.cmdReadRegs, [&m] { m.cmdReadRegs_Click(); }},
        {"cmdwriteAll", m.cmdwriteAll, [&m] { m.cmdwriteAll_Click(); }},
        {"Command7", m.Command7, [&m] { m.Command7_Click(); }},
        {"cbReset", m.cbReset, [&m] { m.cbReset_Click(); }},
        {"cbSend", m.cbSend, [&m] { m.cbSend_Click(); }},
        {"cmdAppsSet", m.cmdAppsSet, [&m] { m.cmdAppsSet_Click(); }},
    };
    for (const Entry& e : entries) {
        auto* button = MakeButton(QLatin1String(e.name));
        bind::button(e.model, button, e.click);
        row->addWidget(button);
    }
    row->addStretch();
    auto* exit = KeepPlace(MakeButton(QStringLiteral("cmdexit")));
    exit->setMinimumWidth(90);
    bind::button(m.cmdexit, exit, [&m] { m.cmdexit_Click(); });
    row->addWidget(exit);
    return holder;
}

QWidget* MainWindowView::buildRawPanel() {
    FrmI2CGeneral& m = model_;
    auto* group = new QGroupBox(QStringLiteral("Two-Byte Transfer"));
    auto* grid = new QGridLayout(group);
    grid->setVerticalSpacing(6);
    auto* address = HexBox(QStringLiteral("txtAddr"), 4);
    auto* data = HexBox(QStringLiteral("txtData"), 4);
    bind::text(m.txtAddr, address);
    bind::text(m.txtData, data);
    auto* direction = new QCheckBox;
    direction->setObjectName(QStringLiteral("ckRwb"));
    bind::check(m.ckRwb, direction, nullptr);
    auto* write = MakeButton(QStringLiteral("cmdWrite"));
    bind::button(m.cmdWrite, write, [&m] { m.cmdWrite_Click(); });

    grid->addWidget(new QLabel(QStringLiteral("Address")), 0, 0);
    grid->addWidget(address, 0, 1);
    grid->addWidget(new QLabel(QStringLiteral("Data")), 0, 2);
    grid->addWidget(data, 0, 3);
    grid->addWidget(write, 0, 4);
    grid->addWidget(direction, 1, 0, 1, 5);
    grid->setColumnStretch(5, 1);
    return group;
}

QWidget* MainWindowView::buildLogPage() {
    FrmI2CGeneral& m = model_;
    auto* page = new QWidget;
    auto* box = new QVBoxLayout(page);
    auto* log = new LogView(m.Txtlog.text());
    log->setObjectName(QStringLiteral("Txtlog"));
    log->setFont(MonoFont());
    bind::log(m.Txtlog, log);
    box->addWidget(log);
    auto* row = new QHBoxLayout;
    row->addStretch();
    auto* clear = MakeButton(QStringLiteral("cmdClearLog"));
    clear->setMinimumWidth(90);
    bind::button(m.cmdClearLog, clear, [&m] { m.cmdClearLog_Click(); });
    row->addWidget(clear);
    box->addLayout(row);
    return page;
}

void MainWindowView::buildMenus() {
    FrmI2CGeneral& m = model_;
    auto add = [this](QMenu* menu, const char* name, const QString& text,
                      std::function<void()> action, const QKeySequence& keys = {}) {
        QAction* item = menu ? menu->addAction(text) : menuBar()->addAction(text);
        item->setObjectName(QLatin1String(name));
        item->setShortcut(keys);
        connect(item, &QAction::triggered, this, [action] { action(); });
    };
    // The mnemonics ("&") only underline a letter; the captions read as before.
    QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
    file->setObjectName(QStringLiteral("mnuFileProcess"));
    QMenu* open = file->addMenu(QStringLiteral("Open"));
    open->setObjectName(QStringLiteral("mnuOPen"));
    add(
        open, "mnuSetup_Open", QStringLiteral("Comm Register Definitions"),
        [&m] { m.mnuSetup_Open_Click(); }, QKeySequence::Open);
    add(open, "mnu_ScriptShow", QStringLiteral("Script Execution"),
        [&m] { m.mnu_ScriptShow_Click(); });
    add(open, "mnuGPIO", QStringLiteral("GPIO Screen"), [&m] { m.mnuGPIO_Click(); });
    add(
        file, "mnuSetup_Save", QStringLiteral("Save"), [&m] { m.mnuSetup_Save_Click(); },
        QKeySequence::Save);
    add(file, "mnuSaveLog", QStringLiteral("Save Log..."), [this] { saveLog(); });
    file->addSeparator();
    add(file, "mnuScanBus", QStringLiteral("Scan Bus"), [this] { scanBus(); });
    add(file, "mnuTraceStart", QStringLiteral("Start Trace..."), [this, &m] {
        m.mnuTraceStart_Click();
        syncTraceMenu();
    });
    add(file, "mnuTraceStop", QStringLiteral("Stop Trace"), [this, &m] {
        m.mnuTraceStop_Click();
        syncTraceMenu();
    });
    syncTraceMenu();
    add(nullptr, "frmAbout", QStringLiteral("&About"), [&m] { m.frmAbout_Click(); });
}

// Writes the log as shown into a file the user names; every later entry is added to it.
void MainWindowView::saveLog() {
    FileDialogState dialog;
    dialog.title = "Save Log";
    dialog.filter = "Log (*.log)|*.log|Text (*.txt)|*.txt|All files (*.*)|*.*";
    dialog.defaultExt = "log";
    if (!wb_.dialogs.saveFile(dialog) || dialog.fileName.empty()) return;
    if (const auto why = wb_.log.saveTo(dialog.fileName)) {
        wb_.log.LogMessage("Log not saved: " + dialog.fileName + ": " + *why);
        return;
    }
    wb_.log.LogMessage("Log saved to " + dialog.fileName + "; every new entry is added to it");
}

// The trace menu items follow the model: Start while no trace runs, Stop while one does.
void MainWindowView::syncTraceMenu() {
    findChild<QAction*>(QStringLiteral("mnuTraceStart"))->setEnabled(!model_.tracing());
    findChild<QAction*>(QStringLiteral("mnuTraceStop"))->setEnabled(model_.tracing());
}

void MainWindowView::scanBus() {
    const BusScan scan = model_.mnuScanBus_Click();
    wb_.dialogs.messageBox(BusScanText(scan), "Scan Bus", Dialogs::Buttons::Ok);
}

// The newest log entry stays in sight while the log page is hidden. A label rather than the
// bar's own message, which the menus' empty status tips would wipe out.
void MainWindowView::buildStatusBar(Workbench& wb) {
    auto* newest = new QLabel;
    newest->setObjectName(QStringLiteral("StatusMessage"));
    // A long entry is cut off at the window's edge instead of widening the window.
    newest->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    statusBar()->addWidget(newest, 1);
    wb.log.onEntry = [newest](std::string_view message) {
        QString line = QString::fromStdString(DisplayText(message));
        line.replace(QLatin1String("\r\n"), QLatin1String(" "));
        line.replace(QLatin1Char('\r'), QLatin1Char(' '))
            .replace(QLatin1Char('\n'), QLatin1Char(' '));
        newest->setText(line);
    };
    connect(newest, &QObject::destroyed, [&wb] { wb.log.onEntry = nullptr; });
}

void MainWindowView::syncInnerSize() {
    const QSize content = inner_->sizeHint();
    Rect r = model_.pbinner.rect();
    r.width = content.width() * kTwipsPerPixel;
    r.height = content.height() * kTwipsPerPixel;
    if (r == model_.pbinner.rect()) return;
    model_.pbinner.setRect(r);
    generalPage_->updateGeometry();
    applyResize();
}

void MainWindowView::applyResize() {
    const QSize size = generalPage_->size();
    model_.Form_Resize(size.width() * kTwipsPerPixel, size.height() * kTwipsPerPixel);
    // A scroll bar that the window outgrew, or whose range shrank under its value, moves the
    // content back into view, as dragging it there would.
    auto settle = [](ScrollBar& bar, const std::function<void()>& change) {
        const int wanted = bar.visible() ? std::clamp(bar.value(), 0, bar.max()) : 0;
        if (wanted == bar.value()) return;
        bar.setValue(wanted);
        change();
    };
    settle(model_.VScroll1, [this] { model_.VScroll1_Change(); });
    settle(model_.HScroll1, [this] { model_.HScroll1_Change(); });
}

bool MainWindowView::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate) model_.Form_GotFocus();
    return QMainWindow::event(event);
}

void MainWindowView::closeEvent(QCloseEvent* event) {
    if (model_.Form_QueryUnload()) {
        event->ignore();
        return;
    }
    event->accept();
    model_.Form_Unload();
}

}  // namespace i2cbridge
