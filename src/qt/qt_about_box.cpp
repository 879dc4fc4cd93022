#include "qt/qt_about_box.h"

#include <QFont>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <QPointer>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

#include "about/frm_about2.h"
#include "qt/qt_binding.h"
#include "qt/qt_system_info_launcher.h"
#include "workbench/workbench.h"

namespace i2cbridge {

namespace {

// The maker's mark: a chip with its pins, lettered I2C.
QPixmap MakeLogo(int size) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    const qreal pin = size / 12.0;
    const QRectF body(size * 0.18, size * 0.18, size * 0.64, size * 0.64);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(150, 150, 150));
    for (int i = 0; i < 4; ++i) {
        const qreal at = body.left() + body.width() * (i + 0.5) / 4 - pin / 2;
        p.drawRect(QRectF(at, size * 0.06, pin, size * 0.12));
        p.drawRect(QRectF(at, size * 0.82, pin, size * 0.12));
        p.drawRect(QRectF(size * 0.06, at, size * 0.12, pin));
        p.drawRect(QRectF(size * 0.82, at, size * 0.12, pin));
    }
    p.setBrush(QColor(28, 74, 140));
    p.drawRoundedRect(body, size * 0.06, size * 0.06);
    QFont font;
    font.setBold(true);
    font.setPixelSize(static_cast<int>(size * 0.22));
    p.setFont(font);
    p.setPen(Qt::white);
    p.drawText(body, Qt::AlignCenter, QStringLiteral("I\u00B2C"));
    return pixmap;
}

class AboutBoxWindow : public QWidget {
public:
    AboutBoxWindow(Workbench& wb, std::unique_ptr<SystemInfoLauncher> launcher)
        : launcher_(std::move(launcher)), model_(wb, *launcher_) {
        setObjectName("frmAbout2");
        setAttribute(Qt::WA_DeleteOnClose);
        // Only the main window keeps the program running.
        setAttribute(Qt::WA_QuitOnClose, false);
        setWindowFlags(Qt::Dialog);
        build();
        model_.onUnload = [this] { close(); };
        model_.Form_Load();
    }

    // The bindings point into the model, so the widgets go first.
    ~AboutBoxWindow() override {
        model_.onUnload = nullptr;
        model_.Caption.onChange = nullptr;
        qDeleteAll(findChildren<QWidget*>(Qt::FindDirectChildrenOnly));
    }

private:
    QLabel* label(Label& model, const char* name) {
        auto* w = new QLabel(this);
        w->setObjectName(name);
        bind::label(model, w);
        return w;
    }

    void build() {
        auto* logo = new QLabel(this);
        logo->setObjectName("logo");
        logo->setPixmap(MakeLogo(64));
        logo->setAlignment(Qt::AlignTop | Qt::AlignHCenter);

        QLabel* title = label(model_.lblTitle, "lblTitle");
        QFont titleFont = title->font();
        titleFont.setBold(true);
        titleFont.setPointSizeF(titleFont.pointSizeF() * 1.5);
        title->setFont(titleFont);
        QLabel* version = label(model_.lblVersion, "lblVersion");
        QLabel* description = label(model_.lblDescription, "lblDescription");
        description->setWordWrap(true);

        auto* line = new QFrame(this);
        line->setObjectName("Line1");
        line->setFrameShape(QFrame::HLine);
        line->setFrameShadow(QFrame::Sunken);

        QLabel* heading = label(model_.lblDisclaimer[0], "lblDisclaimer0");
        QFont headingFont = heading->font();
        headingFont.setBold(true);
        heading->setFont(headingFont);
        QLabel* disclaimer = label(model_.lblDisclaimer[1], "lblDisclaimer1");
        disclaimer->setWordWrap(true);
        disclaimer->setAlignment(Qt::AlignTop | Qt::AlignLeft);

        auto* ok = new QPushButton(this);
        ok->setObjectName("cmdOK");
        ok->setDefault(true);
        bind::button(model_.cmdOK, ok, [this] { model_.cmdOK_Click(); });
        auto* sysInfo = new QPushButton(this);
        sysInfo->setObjectName("cmdSysInfo");
        bind::button(model_.cmdSysInfo, sysInfo, [this] { model_.cmdSysInfo_Click(); });
        const int buttonWidth = std::max(ok->sizeHint().width(), sysInfo->sizeHint().width()) + 16;
        ok->setFixedWidth(buttonWidth);
        sysInfo->setFixedWidth(buttonWidth);
        auto* escape = new QShortcut(QKeySequence(Qt::Key_Escape), this);
        QObject::connect(escape, &QShortcut::activated, [this] { model_.cmdOK_Click(); });

        auto* top = new QVBoxLayout;
        top->setSpacing(4);
        top->addWidget(title);
        top->addWidget(version);
        top->addWidget(description);
        top->addStretch();

        auto* notice = new QVBoxLayout;
        notice->setSpacing(4);
        notice->addWidget(heading);
        notice->addWidget(disclaimer, 1);

        auto* buttons = new QVBoxLayout;
        buttons->addWidget(ok);
        buttons->addWidget(sysInfo);
        buttons->addStretch();

        auto* grid = new QGridLayout(this);
        grid->setContentsMargins(16, 16, 16, 14);
        grid->setHorizontalSpacing(16);
        grid->setVerticalSpacing(12);
        grid->addWidget(logo, 0, 0);
        grid->addLayout(top, 0, 1, 1, 2);
        grid->addWidget(line, 1, 0, 1, 3);
        grid->addLayout(notice, 2, 0, 1, 2);
        grid->addLayout(buttons, 2, 2);
        grid->setColumnStretch(1, 1);

        setMinimumWidth(500);
        setWindowTitle(QString::fromStdString(model_.Caption.caption()));
        model_.Caption.onChange = [this] {
            setWindowTitle(QString::fromStdString(model_.Caption.caption()));
        };
    }

    std::unique_ptr<SystemInfoLauncher> launcher_;
    FrmAbout2 model_;
};

}  // namespace

QWidget* CreateAboutBox(Workbench& wb, std::unique_ptr<SystemInfoLauncher> launcher) {
    return new AboutBoxWindow(wb, std::move(launcher));
}

}  // namespace i2cbridge
