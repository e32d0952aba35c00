#include "app/ui/linux/QtDesktopUi.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QIcon>
#include <QLocale>
#include <QQuickView>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QTimer>
#include <QUrl>
#include <chrono>
#include <cstdlib>
#include <utility>

#include "app/runtime/TevantoMacRuntime.h"
#include "app/ui/CompanionModel.h"
#include "app/ui/CompanionViews.h"
#include "app/ui/DesktopAppearance.h"
#include "app/ui/MenuBarLabel.h"
#include "app/ui/PanelWindow.h"
#include "app/ui/QtMainQueue.h"
#include "app/ui/QtSetupWindow.h"
#include "app/ui/ViewEngine.h"
#include "app/ui/linux/PortalAppearance.h"
#include "app/ui/linux/ToolkitMotion.h"
#include "app/ui/linux/TrayIcon.h"
#include "platform/linux/x11/XDesktop.h"

namespace tevanto {
namespace {

/// How long the icons wait for a window's first frame.
constexpr auto kWindowTimeout = std::chrono::seconds(1);

constexpr auto kApplicationIdentifier = "app.tevanto.Tevanto";
/// The folder of translations, "tevanto_<language>.qm", seen from the folder of the program. The sources are
/// English.
constexpr auto kTranslations = "/../share/tevanto/translations";

/// Small, mostly still windows: drawing them on the processor starts sooner than a graphics driver, and holds
/// a tenth of its memory.
void chooseRenderer() {
  if (qEnvironmentVariableIsSet("QT_QUICK_BACKEND") || qEnvironmentVariableIsSet("QSG_RHI_BACKEND")) return;
  QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

void addDesktopOperations(UiActions& operations) {
  operations.openUrl = [](const std::string& url) {
    QDesktopServices::openUrl(QUrl(QString::fromStdString(url)));
  };
  operations.copyText = [](const std::string& text) {
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
  };
}

/// A compositor of Wayland always does; on X11 it is a program beside the server.
bool isTransparencyShown() {
  if (!qGuiApp->nativeInterface<QNativeInterface::QX11Application>()) return true;
  const auto desktop = XDesktop::current();
  return desktop && desktop->isComposited;
}

/// The one of the desktop's theme; the product's mark where it is not installed, as when it runs from where
/// it was built.
QIcon applicationIcon() {
  const auto themed = QIcon::fromTheme(kApplicationIdentifier);
  return themed.isNull() ? MenuBarLabel::mark() : themed;
}

/// The desktop UI whose loop runs. Qt's plugin for X11 ends the process by exit() as soon as it finds the
/// connection broken, so that only handlers of the exit learn of it.
QtDesktopUi* runningUi = nullptr;

}  // namespace

/// Qt keeps references to them.
struct QtDesktopUi::Arguments {
  char name[8] = "tevanto";
  char* values[2] = {name, nullptr};
  int count = 1;
};

QtDesktopUi::QtDesktopUi()
    : arguments_(std::make_unique<Arguments>()),
      application_(arguments_->count, arguments_->values),
      queue_(std::make_shared<QtMainQueue>("main")) {
  fonts_.goOnWithApplication();
  QApplication::setApplicationName(QStringLiteral("Tevanto"));
  QApplication::setApplicationDisplayName(QStringLiteral("Tevanto"));
  QApplication::setApplicationVersion(QStringLiteral(TEVANTO_VERSION));
  QApplication::setDesktopFileName(kApplicationIdentifier);
  // Closing the window leaves the companion running.
  QApplication::setQuitOnLastWindowClosed(false);
  installTranslation();
  chooseRenderer();
  DesktopAppearance::followBy(followPortal);
  engine_ = std::make_unique<ViewEngine>();
}

void QtDesktopUi::installTranslation() {
  const auto folder = QApplication::applicationDirPath() + kTranslations;
  if (translator_.load(QLocale(), QStringLiteral("tevanto"), QStringLiteral("_"), folder))
    QApplication::installTranslator(&translator_);
}

QtDesktopUi::~QtDesktopUi() {
  endWindows();
  fonts_.wait();
}

std::shared_ptr<SerialQueue> QtDesktopUi::mainQueue() { return queue_; }

void QtDesktopUi::present(UiModelSources sources) {
  addDesktopOperations(sources.operations);
  sources_.emplace(std::move(sources));
  auto& runtime = sources_->runtime;
  model_ = std::make_unique<CompanionModel>(
      CompanionModel::Services{runtime.server(), runtime.screen(), runtime.power(), runtime.launchAtLogin(),
                               sources_->defaults},
      sources_->operations, sources_->links);
  views_ = std::make_unique<CompanionViews>(*model_, std::move(engine_));
  panel_ = std::make_unique<PanelWindow>(*model_, *views_, isTransparencyShown);
  tray_ = std::make_unique<TrayIcon>(*model_, [this](const QRect& icon) { panel_->toggle(icon); });
  // In case no window appears, or one that is hidden.
  QTimer::singleShot(kWindowTimeout, model_.get(), [this] { showIcons(); });
}

void QtDesktopUi::showIcons() {
  if (std::exchange(showsIcons_, true)) return;
  QApplication::setWindowIcon(applicationIcon());
  tray_->lookForTray();
  motion_ = std::make_unique<ToolkitMotion>(
      [this](bool isReduced) { views_->appearance().setMotionReducedByToolkit(isReduced); });
}

std::unique_ptr<SetupWindow> QtDesktopUi::makeWindow(const SetupWindowStyle& style,
                                                     std::function<void()> onClose) {
  fonts_.finish();
  setupView_ = views_->makeSetupWindow();
  QObject::connect(
      setupView_.get(), &QQuickWindow::frameSwapped, model_.get(), [this] { showIcons(); },
      static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::SingleShotConnection));
  // The user may come back from the settings, after a change there.
  QObject::connect(setupView_.get(), &QWindow::activeChanged, model_.get(), [this] {
    if (setupView_->isActive()) model_->refresh();
  });
  return std::make_unique<QtSetupWindow>(*setupView_, style, std::move(onClose), activation_);
}

void QtDesktopUi::exitedFromWithin() {
  // Elsewhere exit() was somebody else's, and the main thread still stands in the loop.
  if (runningUi && runningUi->queue_->isCurrent()) runningUi->sources_->displayLost();
}

void QtDesktopUi::run() {
  runningUi = this;
  std::atexit(&QtDesktopUi::exitedFromWithin);
  // The session, too, may ask the application to quit; then the companion ends what it began.
  while (!stopping_) {
    QApplication::exec();
    if (!stopping_) sources_->operations.quit();
  }
  runningUi = nullptr;
  endWindows();
  queue_->stop();
}

void QtDesktopUi::stop() {
  stopping_ = true;
  queue_->async([] { QApplication::exit(); });
}

void QtDesktopUi::endWindows() {
  tray_.reset();
  panel_.reset();
  setupView_.reset();
  motion_.reset();
  views_.reset();
  model_.reset();
}

}  // namespace tevanto
