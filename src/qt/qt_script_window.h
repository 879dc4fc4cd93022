#pragma once

// A script window as the user sees it: the grid of script rows in a QTableView, the run,
// interrupt and record controls in a band above it, and the File menu. Every widget is bound
// to its control model in FrmScriptOps and named after it ("vbalGrid1", "cmdExecAll",
// "shpISample(0)"); every user event goes to the model's handler.

#include <QAbstractTableModel>
#include <QMainWindow>
#include <functional>
#include <memory>

#include "qt/qt_model_holder.h"

class QTableView;

namespace i2cbridge {

class Grid;
class Program;
class FrmScriptOps;

// A Grid seen by a QTableView. A changed cell repaints only that cell, so a run over a long
// script costs the same per row whatever the script's length. Headers and widths come from
// the grid's columns; the view applies the widths when headerDataChanged or modelReset
// arrive. The grid must outlive the adapter.
class GridTableModel : public QAbstractTableModel {
public:
    // palette: the widget whose button colour paints cells of kButtonFaceColor.
    GridTableModel(Grid& grid, const QWidget* palette, QObject* parent = nullptr);
    ~GridTableModel() override;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    Grid& grid_;
    const QWidget* palette_;
    int columns_ = 0;
};

class ScriptWindowView : private ModelHolder<FrmScriptOps>, public QMainWindow {
public:
    ScriptWindowView(Program& program, std::shared_ptr<FrmScriptOps> model);
    ~ScriptWindowView() override;

    FrmScriptOps& model() { return model_; }
    QTableView* grid() const { return grid_; }
    // The window's start-up, which asks for a script file at once. It runs as one of the
    // window's own handlers, so a close inside its yields waits for it to return.
    void load();
    // Closed by the user and waiting for its own handlers to return.
    bool closing() const { return closing_; }

protected:
    bool event(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    // A model handler as a click; what it returns is the model's news, shown by the model.
    template <typename Result>
    std::function<void()> handlerOf(Result (FrmScriptOps::*handler)()) {
        FrmScriptOps* model = &model_;
        return [this, model, handler] {
            runHandler([model, handler] { std::invoke(handler, *model); });
        };
    }
    QWidget* buildBand(QWidget* parent);
    QWidget* buildScriptControl(QWidget* parent);
    QWidget* buildInterrupt(QWidget* parent);
    QWidget* buildRecord(QWidget* parent);
    void buildGrid(QWidget* parent);
    void buildMenus();
    void applyColumnWidths();
    void showModelSelection();
    void userSelected();
    void applyResize();

    Program& program_;
    FrmScriptOps& model_;
    QWidget* inner_ = nullptr;
    QWidget* band_ = nullptr;
    QTableView* grid_ = nullptr;
    GridTableModel* cells_ = nullptr;
    int bandHeight_ = 0;
    bool fitPending_ = false;
    bool closing_ = false;
};

}  // namespace i2cbridge
