#include "qt/qt_startup_window.h"

#include <QGuiApplication>
#include <QLabel>
#include <QMenuBar>
#include <QScreen>

#include "about/system_info_launcher.h"
#include "qt/qt_main_window.h"
#include "qt/qt_windows.h"

namespace i2cbridge {

namespace {
// Room for a window manager's frame, in pixels: both borders, and the title bar with its border.
constexpr int kFrameAllowance = 16;
constexpr int kTitleBarAllowance = 48;
}  // namespace

StartupWindow::StartupWindow(QtWindows& windows, bool simulatedBoard)
    : windows_(windows), simulated_(simulatedBoard) {
    setObjectName(QStringLiteral("frmStartup"));
    setWindowTitle(QStringLiteral("Quantrel I2C Video Mux Control Software"));

    QMenu* devices = menuBar()->addMenu(QStringLiteral("Device Select"));
    devices->setObjectName(QStringLiteral("MnuDevSel1"));
    // The product family; picking one does nothing yet.
    for (const char* device :
         {"2:1 Video Mux", "4:1 Video Mux", "8:1 Video Mux", "4x4 Video Crosspoint",
          "Video Mux with Output Driver", "Triple Video Mux"}) {
        devices->addAction(QLatin1String(device));
    }
    QAction* about = menuBar()->addAction(QStringLiteral("About"));
    about->setObjectName(QStringLiteral("mnuAbout"));
    connect(about, &QAction::triggered, this, [this] { windows_.showAbout(); });

    auto* picture = new QLabel(QStringLiteral("Quantrel I2C Video Mux Control Software"));
    picture->setObjectName(QStringLiteral("Picture1"));
    picture->setAlignment(Qt::AlignCenter);
    setCentralWidget(picture);
}

StartupWindow::~StartupWindow() = default;

void StartupWindow::Form_Load() {
    hide();
    if (!main_)
        main_ = std::make_unique<MainWindowView>(windows_.program, simulated_, nullptr, board_);
    windows_.mainWindow = main_.get();
    // Open the main window at the size that shows every control, as far as the screen allows.
    main_->ensurePolished();  // the style's margins count in the size
    QSize size = main_->fullSize();
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        // The window manager's title bar and borders are not known before the window shows.
        const QSize frame = (main_->frameGeometry().size() - main_->size())
                                .expandedTo(QSize(kFrameAllowance, kTitleBarAllowance));
        size = size.boundedTo(screen->availableSize() - frame);
    }
    main_->resize(size);
    main_->show();
}

}  // namespace i2cbridge
