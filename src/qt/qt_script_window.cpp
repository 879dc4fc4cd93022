#include "qt/qt_script_window.h"

#include <QAction>
#include <QCheckBox>
#include <QCloseEvent>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QPushButton>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <functional>
#include <vector>

#include "app/program.h"
#include "foundation/display_text.h"
#include "foundation/grid.h"
#include "qt/qt_binding.h"
#include "scripts/frm_script_ops.h"

namespace i2cbridge {

namespace {

// Space between the band of controls and the grid, in pixels.
constexpr int kGridGap = 4;
// The grid's top when the controls above it need less: the resize rule leaves 4400 twips of
// height for them, and this leaves 400 of them below the grid.
constexpr int kDesignGridTop = (4400 - 400) / kTwipsPerPixel;
// The columns as the start-up sets them, before a load narrows the data columns; a new window
// opens wide enough to show them all.
constexpr int kDesignGridWidth = 3 * 64 + 3 * 208 + 124 + 298;
// What the resize rule leaves beside the grid: 100 twips left, 300 right.
constexpr int kGridSideMargins = 400 / kTwipsPerPixel;

// Script texts are the file's bytes: UTF-8 shows as such, anything else as Windows-1252, the
// code page scripts written on Windows use.
QString CellText(const std::string& bytes) {
    if (std::all_of(bytes.begin(), bytes.end(), [](char c) { return (c & 0x80) == 0; })) {
        return QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size()));
    }
    return QString::fromStdString(DisplayText(bytes));
}

QString Q(const std::string& s) {
    return QString::fromStdString(s);
}

// Frame captions never change after the window is built, so only visibility is bound. A
// group box title treats "&" as a mnemonic mark, so the caption's "&&" shows as one "&".
QGroupBox* Frame(Label& model, const char* name, QWidget* parent) {
    auto* box = new QGroupBox(Q(model.caption()), parent);
    box->setObjectName(QLatin1String(name));
    // Hidden frames keep their place: the band's height, and so the grid's top, is the same
    // before and after a load.
    QSizePolicy policy = box->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    box->setSizePolicy(policy);
    bind::common(model, box);
    return box;
}

void KeepPlaceWhenHidden(QWidget* widget) {
    QSizePolicy policy = widget->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    widget->setSizePolicy(policy);
}

// The window's headings over rows of boxes are single labels whose words are spaced with
// blanks. Each box starts under its word and reaches to the next word, so the heading lines
// up with the boxes whatever the font.
QWidget* UnderHeading(QLabel* heading, const std::vector<QLineEdit*>& boxes, QWidget* parent) {
    const QString text = heading->text();
    const QFontMetrics metrics = heading->fontMetrics();
    std::vector<int> starts;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool wordStart = !text[i].isSpace() && (i == 0 || text[i - 1].isSpace()) &&
                               (i < 2 || starts.empty() || text[i - 2].isSpace());
        if (wordStart) starts.push_back(metrics.horizontalAdvance(text.left(i)));
    }
    constexpr int kGap = 6;
    const int minimum = metrics.horizontalAdvance(QStringLiteral("00000")) + 8;
    auto* holder = new QWidget(parent);
    auto* column = new QVBoxLayout(holder);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(2);
    heading->setIndent(0);
    heading->setMargin(0);
    column->addWidget(heading);
    auto* row = new QHBoxLayout;
    row->setSpacing(0);
    int x = 0;
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        const int start = i < starts.size() ? std::max(starts[i], x) : x;
        row->addSpacing(start - x);
        const int next = i + 1 < starts.size() ? starts[i + 1] - kGap : start + minimum;
        const int width = std::max(minimum, next - start);
        boxes[i]->setFixedWidth(width);
        row->addWidget(boxes[i]);
        x = start + width;
    }
    row->addStretch();
    column->addLayout(row);
    return holder;
}

// The selected row keeps its cells' colours (the I2C Adr and Act_Rd results): it is marked by
// a frame in the highlight colour and a light tint over the cells that have no colour of
// their own, instead of the full highlight fill.
class SelectedRowFrame : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        QStyleOptionViewItem plain(option);
        const bool selected = option.state & QStyle::State_Selected;
        plain.state &= ~QStyle::State_Selected;
        plain.state &= ~QStyle::State_HasFocus;
        const bool coloured = index.data(Qt::BackgroundRole).isValid();
        // The table has already filled a selected row with the highlight; a cell without a
        // colour of its own is given its plain background back first.
        if (selected && !coloured) painter->fillRect(option.rect, option.palette.base());
        QStyledItemDelegate::paint(painter, plain, index);
        if (!selected) return;
        const QColor highlight = option.palette.color(QPalette::Highlight);
        painter->save();
        if (!coloured) {
            QColor tint = highlight;
            tint.setAlpha(64);
            painter->fillRect(option.rect, tint);
        }
        const QRect r = option.rect;
        constexpr int kLine = 2;
        painter->fillRect(r.left(), r.top(), r.width(), kLine, highlight);
        painter->fillRect(r.left(), r.bottom() - kLine + 1, r.width(), kLine, highlight);
        if (index.column() == 0) painter->fillRect(r.left(), r.top(), kLine, r.height(), highlight);
        if (index.column() == index.model()->columnCount() - 1) {
            painter->fillRect(r.right() - kLine + 1, r.top(), kLine, r.height(), highlight);
        }
        painter->restore();
    }
};

}  // namespace

GridTableModel::GridTableModel(Grid& grid, const QWidget* palette, QObject* parent)
    : QAbstractTableModel(parent), grid_(grid), palette_(palette), columns_(grid.columnCount()) {
    grid_.onCell = [this](int row, int column) {
        const QModelIndex at = index(row - 1, column - 1);
        emit dataChanged(at, at);
    };
    grid_.onRows = [this] {
        beginResetModel();
        columns_ = grid_.columnCount();
        endResetModel();
    };
    grid_.onColumns = [this] {
        if (columns_ != grid_.columnCount()) {
            beginResetModel();
            columns_ = grid_.columnCount();
            endResetModel();
        } else if (columns_ > 0) {
            emit headerDataChanged(Qt::Horizontal, 0, columns_ - 1);
        }
    };
}

GridTableModel::~GridTableModel() {
    grid_.onCell = nullptr;
    grid_.onRows = nullptr;
    grid_.onColumns = nullptr;
}

int GridTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : grid_.rowCount();
}

int GridTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columns_;
}

QVariant GridTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const Grid::Cell& cell = grid_.cell(index.row() + 1, index.column() + 1);
    if (role == Qt::DisplayRole) return CellText(cell.text);
    if (role == Qt::BackgroundRole && cell.back) {
        if (*cell.back == kButtonFaceColor) return palette_->palette().color(QPalette::Button);
        return QColor::fromRgb(*cell.back);
    }
    return {};
}

QVariant GridTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    if (section < 0 || section >= columns_) return {};
    return Q(grid_.column(section + 1).header);
}

Qt::ItemFlags GridTableModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::NoItemFlags;
    return Qt::ItemIsSelectable | Qt::ItemIsEnabled;
}

ScriptWindowView::ScriptWindowView(Program& program, std::shared_ptr<FrmScriptOps> model)
    : ModelHolder(std::move(model)), program_(program), model_(held()) {
    setObjectName(QStringLiteral("frmScriptOps"));
    // Only the main window keeps the program running.
    setAttribute(Qt::WA_QuitOnClose, false);
    bind::windowTitle(model_.Caption, this);

    inner_ = new QWidget(this);
    inner_->setObjectName(QStringLiteral("picForm"));
    setCentralWidget(inner_);
    band_ = buildBand(inner_);
    buildGrid(inner_);
    buildMenus();

    // The resize rule keeps the grid's top where it starts; the band of controls fills the
    // height above it.
    const QSize band = band_->sizeHint();
    const int top = std::max(band.height() + kGridGap, kDesignGridTop);
    bandHeight_ = top - kGridGap;
    const int width = std::max(band.width(), kDesignGridWidth + kGridSideMargins +
                                                 grid_->verticalScrollBar()->sizeHint().width());
    const int height = top + 440;
    model_.gridBox.setRect(
        {100, top * kTwipsPerPixel, width * kTwipsPerPixel - 400, height * kTwipsPerPixel - 4400});
    bind::geometry(model_.gridBox, grid_);
    inner_->setMinimumSize(band.width(), top + 120);
    bind::onEvent(inner_, QEvent::Resize, [this] { applyResize(); });
    resize(width, height + menuBar()->sizeHint().height());
}

ScriptWindowView::~ScriptWindowView() {
    model_.vbalGrid1.onSelection = nullptr;
    // The child widgets go after this body; a selection they drop on the way is nobody's.
    grid_->selectionModel()->disconnect(this);
}

void ScriptWindowView::load() {
    runHandler([this] { model_.Form_Load(); });
}

bool ScriptWindowView::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate) runHandler([this] { model_.Form_GotFocus(); });
    return QMainWindow::event(event);
}

// The rows go with the window.
void ScriptWindowView::closeEvent(QCloseEvent* event) {
    event->accept();
    if (closing_) return;
    closing_ = true;
    program_.closeScriptWindow(model_);
    deleteWhenIdle(*this);
}

QWidget* ScriptWindowView::buildBand(QWidget* parent) {
    FrmScriptOps& m = model_;
    auto* band = new QWidget(parent);
    band->setObjectName(QStringLiteral("band"));

    auto* title = new QLabel(band);
    title->setObjectName(QStringLiteral("lblTitle"));
    QFont big = title->font();
    big.setBold(true);
    big.setPointSizeF(big.pointSizeF() * 1.25);
    title->setFont(big);
    bind::label(m.lblTitle, title);

    auto* address = new QLineEdit(band);
    address->setObjectName(QStringLiteral("txtI2CAdr"));
    address->setFixedWidth(address->fontMetrics().horizontalAdvance(QStringLiteral("WWWW")) + 12);
    bind::text(m.txtI2CAdr, address);
    bind::onEnter(address, [this](int& key) {
        runHandler([this, &key] { model_.txtI2CAdr_KeyPress(key); });
    });
    auto* addressRow = new QHBoxLayout;
    addressRow->addWidget(new QLabel(QStringLiteral("I2C Adr"), band));
    addressRow->addWidget(address);
    addressRow->addStretch();

    auto* left = new QVBoxLayout;
    left->setSpacing(4);
    left->addWidget(title);
    left->addLayout(addressRow);
    left->addWidget(buildScriptControl(band), 1);

    auto* root = new QHBoxLayout(band);
    root->setContentsMargins(8, 4, 8, 0);
    root->setSpacing(10);
    root->addLayout(left);
    root->addWidget(buildInterrupt(band));
    root->addWidget(buildRecord(band));
    root->addStretch();
    return band;
}

QWidget* ScriptWindowView::buildScriptControl(QWidget* parent) {
    FrmScriptOps& m = model_;
    QGroupBox* frame = Frame(m.frmScriptExec, "frmScriptExec", parent);
    auto button = [this, frame](Button& model, const char* name, auto click) {
        auto* b = new QPushButton(frame);
        b->setObjectName(QLatin1String(name));
        // Run buttons come and go during a run; the others stay where they are.
        KeepPlaceWhenHidden(b);
        bind::button(model, b, handlerOf(click));
        return b;
    };
    auto box = [frame](TextBox& model, const char* name, int chars) {
        auto* e = new QLineEdit(frame);
        e->setObjectName(QLatin1String(name));
        if (chars > 0) {
            e->setFixedWidth(e->fontMetrics().horizontalAdvance(QString(chars, QLatin1Char('0'))) +
                             12);
        }
        bind::text(model, e);
        return e;
    };
    auto label = [frame](Label& model, const char* name) {
        auto* l = new QLabel(frame);
        l->setObjectName(QLatin1String(name));
        bind::label(model, l);
        return l;
    };

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(button(m.cmdExecAll, "cmdExecAll", &FrmScriptOps::cmdExecAll_Click));
    buttons->addWidget(button(m.cmdAbort, "cmdAbort", &FrmScriptOps::cmdAbort_Click));
    buttons->addWidget(
        button(m.cmdRunContinuous, "cmdRunContinuous", &FrmScriptOps::cmdRunContinuous_Click));
    buttons->addWidget(button(m.cmdReload2, "cmdReload2", &FrmScriptOps::cmdReload2_Click));

    auto* abortOnFail = new QCheckBox(frame);
    abortOnFail->setObjectName(QStringLiteral("chkAOF"));
    bind::check(m.chkAOF, abortOnFail, nullptr);
    auto* loop = new QHBoxLayout;
    loop->addWidget(abortOnFail);
    loop->addStretch();
    loop->addWidget(label(m.Label6, "Label6"));
    loop->addWidget(box(m.txtLoopCount, "txtLoopCount", 6));

    auto* progress = new QHBoxLayout;
    progress->addWidget(label(m.Label4, "Label4"));
    progress->addWidget(box(m.txtScriptLine1, "txtScriptLine1", 8));
    progress->addStretch();
    progress->addWidget(box(m.txtRunning, "txtRunning", 4));
    progress->addWidget(label(m.Label1, "Label1"));
    progress->addWidget(box(m.txtTotLines, "txtTotLines", 4));

    auto* reads = new QHBoxLayout;
    reads->addWidget(label(m.Label3, "Label3"), 0, Qt::AlignBottom);
    reads->addStretch();
    reads->addWidget(
        UnderHeading(label(m.Label2, "Label2"),
                     {box(m.txttotReads, "txttotReads", 0), box(m.txtRdPass, "txtRdPass", 0),
                      box(m.txtRdFails, "txtRdFails", 0)},
                     frame));

    auto* layout = new QVBoxLayout(frame);
    layout->setContentsMargins(8, 6, 8, 6);
    layout->setSpacing(4);
    layout->addLayout(buttons);
    layout->addLayout(loop);
    layout->addLayout(progress);
    layout->addLayout(reads);
    layout->addStretch();
    return frame;
}

QWidget* ScriptWindowView::buildInterrupt(QWidget* parent) {
    FrmScriptOps& m = model_;
    auto* holder = new QWidget(parent);
    auto box = [](TextBox& model, const char* name, QWidget* frame) {
        auto* e = new QLineEdit(frame);
        e->setObjectName(QLatin1String(name));
        bind::text(model, e);
        return e;
    };
    auto label = [](Label& model, const char* name, QWidget* frame) {
        auto* l = new QLabel(frame);
        l->setObjectName(QLatin1String(name));
        bind::label(model, l);
        return l;
    };

    QGroupBox* status = Frame(m.frameInterrupt, "frameInterrupt", holder);
    auto* enable = new QCheckBox(status);
    enable->setObjectName(QStringLiteral("chkISample"));
    bind::check(m.chkISample, enable, handlerOf(&FrmScriptOps::chkISample_MouseUp));
    auto* sample = new QPushButton(status);
    sample->setObjectName(QStringLiteral("cmdISample"));
    bind::button(m.cmdISample, sample, handlerOf(&FrmScriptOps::cmdISample_Click));
    auto* lamp = new LampWidget(status);
    lamp->setObjectName(IndexedName("shpISample", 0));
    bind::lamp(m.shpISample[0], lamp);
    auto* top = new QHBoxLayout;
    top->addWidget(enable);
    top->addWidget(sample);
    top->addStretch();
    top->addWidget(lamp);
    top->addWidget(label(m.Label5, "Label5", status));
    auto* statusLayout = new QVBoxLayout(status);
    statusLayout->setContentsMargins(8, 6, 8, 6);
    statusLayout->setSpacing(4);
    statusLayout->addLayout(top);
    statusLayout->addWidget(UnderHeading(
        label(m.Label7, "Label7", status),
        {box(m.txtIDefault, "txtIDefault", status), box(m.txtLastRead, "txtLastRead", status),
         box(m.txtIEnableStep, "txtIEnableStep", status),
         box(m.txtIDisableStep, "txtIDisableStep", status),
         box(m.txtIdetectStep, "txtIdetectStep", status)},
        status));

    QGroupBox* steps = Frame(m.frameIsteps, "frameIsteps", holder);
    auto* stepsLayout = new QVBoxLayout(steps);
    stepsLayout->setContentsMargins(8, 6, 8, 6);
    stepsLayout->addWidget(
        UnderHeading(label(m.Label8, "Label8", steps),
                     {box(m.txtIstart, "txtIstart", steps), box(m.txtIend, "txtIend", steps),
                      box(m.txtIexec, "txtIexec", steps)},
                     steps));
    stepsLayout->addStretch();

    auto* layout = new QVBoxLayout(holder);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(status);
    layout->addWidget(steps, 1);
    return holder;
}

QWidget* ScriptWindowView::buildRecord(QWidget* parent) {
    FrmScriptOps& m = model_;
    QGroupBox* frame = Frame(m.frmDataRecord, "frmDataRecord", parent);
    auto* append = new QCheckBox(frame);
    append->setObjectName(QStringLiteral("chkAppend"));
    bind::check(m.chkAppend, append, nullptr);
    auto* browse = new QPushButton(frame);
    browse->setObjectName(QStringLiteral("cmdBrowse"));
    bind::button(m.cmdBrowse, browse, handlerOf(&FrmScriptOps::cmdBrowse_Click));
    auto* write = new QPushButton(frame);
    write->setObjectName(QStringLiteral("cmdStartRec"));
    bind::button(m.cmdStartRec, write, handlerOf(&FrmScriptOps::cmdStartRec_Click));
    auto* path = new QLineEdit(frame);
    path->setObjectName(QStringLiteral("txtFilePath"));
    path->setMinimumWidth(path->fontMetrics().horizontalAdvance(QLatin1Char('x')) * 40);
    bind::text(m.txtFilePath, path);
    auto* result = new QLabel(frame);
    result->setObjectName(QStringLiteral("Label18"));
    bind::label(m.Label18, result);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(append);
    buttons->addStretch();
    buttons->addWidget(browse);
    buttons->addWidget(write);
    auto* layout = new QVBoxLayout(frame);
    layout->setContentsMargins(8, 6, 8, 6);
    layout->setSpacing(4);
    layout->addLayout(buttons);
    layout->addWidget(path);
    layout->addWidget(result);
    layout->addStretch();
    return frame;
}

void ScriptWindowView::buildGrid(QWidget* parent) {
    grid_ = new QTableView(parent);
    grid_->setObjectName(QStringLiteral("vbalGrid1"));
    cells_ = new GridTableModel(model_.vbalGrid1, grid_, grid_);
    grid_->setModel(cells_);
    grid_->setSelectionBehavior(QAbstractItemView::SelectRows);
    grid_->setSelectionMode(QAbstractItemView::SingleSelection);
    grid_->setItemDelegate(new SelectedRowFrame(grid_));
    grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grid_->setWordWrap(false);
    grid_->verticalHeader()->hide();
    // Rows of one fixed height: a long script scrolls without measuring any row.
    grid_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    grid_->verticalHeader()->setDefaultSectionSize(grid_->fontMetrics().height() + 6);
    grid_->horizontalHeader()->setHighlightSections(false);
    // The comment column takes the width the others leave.
    grid_->horizontalHeader()->setStretchLastSection(true);

    // A load empties the rows, fills their cells and sets the widths in one go: the columns
    // are measured once it has returned.
    auto fitLater = [this] {
        if (fitPending_) return;
        fitPending_ = true;
        QTimer::singleShot(0, this, [this] {
            fitPending_ = false;
            applyColumnWidths();
        });
    };
    connect(cells_, &QAbstractItemModel::headerDataChanged, this, fitLater);
    connect(cells_, &QAbstractItemModel::modelReset, this, fitLater);
    connect(grid_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { userSelected(); });
    model_.vbalGrid1.onSelection = [this] { showModelSelection(); };
    applyColumnWidths();
    showModelSelection();
}

void ScriptWindowView::buildMenus() {
    QMenu* file = menuBar()->addMenu(QStringLiteral("File"));
    file->setObjectName(QStringLiteral("Script_File_Ops"));
    auto add = [this, file](const char* name, const QString& text,
                            void (FrmScriptOps::*handler)()) {
        QAction* item = file->addAction(text);
        item->setObjectName(QLatin1String(name));
        connect(item, &QAction::triggered, this, [action = handlerOf(handler)] { action(); });
    };
    add("mnuScript_Read", QStringLiteral("Open Script File"), &FrmScriptOps::mnuScript_Read_Click);
    add("Dupform", QStringLiteral("Open Another Script Processing Form"),
        &FrmScriptOps::Dupform_Click);

    // Esc is Abort while a run goes on (and does nothing otherwise). A Loop Cont is one of this
    // window's handlers from its first pass to its last, also between two passes.
    auto* abort = new QAction(this);
    abort->setObjectName(QStringLiteral("escAbort"));
    abort->setShortcut(Qt::Key_Escape);
    abort->setShortcutContext(Qt::WindowShortcut);
    addAction(abort);
    connect(abort, &QAction::triggered, this,
            [this, action = handlerOf(&FrmScriptOps::cmdAbort_Click)] {
                if (handlersRunning() || model_.ScriptRunning) action();
            });
}

// Before a load the columns have the widths the start-up gives them. A load (its rows and its
// data columns' widths arrive together) fits each column to its widest text, header included,
// with Act_Rd as wide as Data_Rd, whose reads will fill it; the user can drag them afterwards.
void ScriptWindowView::applyColumnWidths() {
    const Grid& g = model_.vbalGrid1;
    QHeaderView* header = grid_->horizontalHeader();
    const int columns = std::min(g.columnCount(), header->count());
    const QAbstractItemView* cells = grid_;  // the table's own size hint is public here
    bool loaded = false;
    for (int r = 1; r <= g.rowCount() && !loaded; ++r) loaded = !g.cell(r, 1).text.empty();
    for (int c = 1; c <= columns; ++c) {
        int width = g.column(c).width;
        if (loaded) {
            constexpr int kPadding = 8;  // beside the cell margins the style adds
            width = std::max(cells->sizeHintForColumn(c - 1), header->sectionSizeHint(c - 1)) +
                    kPadding;
            if (c == kColActRd && kColDataRd <= columns) {
                width = std::max(width, header->sectionSize(kColDataRd - 1));
            }
        }
        if (header->sectionSize(c - 1) != width) header->resizeSection(c - 1, width);
    }
}

// A row the model selects (a run stepping through the script) only moves the highlight: the
// selection model's signals are blocked, so the view does not report it back as the user's
// choice and the row is not run a second time. Only the two rows concerned are repainted.
void ScriptWindowView::showModelSelection() {
    QItemSelectionModel* selection = grid_->selectionModel();
    const int row = model_.vbalGrid1.selectedRow();
    const QModelIndex before = selection->currentIndex();
    const QSignalBlocker block(selection);
    if (row < 1 || row > cells_->rowCount()) {
        selection->clear();
    } else {
        const QModelIndex at = cells_->index(row - 1, 0);
        selection->setCurrentIndex(at,
                                   QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        // A run that steps past the bottom brings its row to the middle, so the grid scrolls
        // once every half page instead of one row at every step.
        const int y = grid_->rowViewportPosition(row - 1);
        if (y < 0 || y + grid_->rowHeight(row - 1) > grid_->viewport()->height()) {
            grid_->scrollTo(at, QAbstractItemView::PositionAtCenter);
        }
    }
    QWidget* viewport = grid_->viewport();
    for (const QModelIndex& index : {before, selection->currentIndex()}) {
        if (!index.isValid()) continue;
        viewport->update(0, grid_->rowViewportPosition(index.row()), viewport->width(),
                         grid_->rowHeight(index.row()));
    }
}

void ScriptWindowView::userSelected() {
    const QModelIndexList picked = grid_->selectionModel()->selectedIndexes();
    if (picked.isEmpty()) return;
    const int row = picked.first().row() + 1;
    if (row == model_.vbalGrid1.selectedRow()) return;
    const QModelIndex current = grid_->selectionModel()->currentIndex();
    const int column = current.isValid() ? current.column() + 1 : 1;
    model_.vbalGrid1.setSelectedRow(row);
    runHandler([this, row, column] { model_.vbalGrid1_SelectionChange(row, column); });
}

void ScriptWindowView::applyResize() {
    model_.Form_Resize(inner_->width() * kTwipsPerPixel, inner_->height() * kTwipsPerPixel,
                       isMinimized());
    band_->setGeometry(0, 0, std::max(inner_->width(), band_->sizeHint().width()), bandHeight_);
}

}  // namespace i2cbridge
