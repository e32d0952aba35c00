#include "app/ui/macos/MacDesktopUi.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QQuickView>
#include <QUrl>
#include <atomic>
#include <optional>
#include <utility>

#include "app/runtime/TevantoMacRuntime.h"
#include "app/ui/CompanionModel.h"
#include "app/ui/CompanionViews.h"
#include "app/ui/DesktopAppearance.h"
#include "app/ui/PanelWindow.h"
#include "app/ui/QtMainQueue.h"
#include "app/ui/QtSetupWindow.h"
#include "app/ui/macos/MacAppearance.h"
#include "app/ui/macos/MacWindowActivation.h"
#include "platform/macos/application/AppKitApplication.h"
#include "platform/macos/application/AppKitStatusItem.h"

namespace tevanto {
namespace {

QRect rectangleOf(const AppKitStatusItem::Frame& frame) {
  return QRectF(frame.x, frame.y, frame.width, frame.height).toRect();
}

void addDesktopOperations(UiActions& operations) {
  operations.openUrl = [](const std::string& url) {
    QDesktopServices::openUrl(QUrl(QString::fromStdString(url)));
  };
  operations.copyText = [](const std::string& text) {
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
  };
}

/// Qt keeps references to them.
struct Arguments {
  char name[8] = "Tevanto";
  char* values[2] = {name, nullptr};
  int count = 1;
};

class MacDesktopUi final : public DesktopUi {
 public:
  MacDesktopUi()
      : application_(arguments_.count, arguments_.values),
        queue_(std::make_shared<QtMainQueue>("main")),
        appKit_([this] {
          if (sources_) sources_->operations.openSetupWindow();
        }) {
    QGuiApplication::setApplicationName(QStringLiteral("Tevanto"));
    QGuiApplication::setApplicationVersion(QStringLiteral(TEVANTO_VERSION));
    // Closing the window leaves the companion running.
    QGuiApplication::setQuitOnLastWindowClosed(false);
  }
  ~MacDesktopUi() override { endWindows(); }

  std::shared_ptr<SerialQueue> mainQueue() override { return queue_; }

  void present(UiModelSources sources) override {
    addDesktopOperations(sources.operations);
    sources_.emplace(std::move(sources));
    auto& runtime = sources_->runtime;
    model_ = std::make_unique<CompanionModel>(
        CompanionModel::Services{runtime.server(), runtime.screen(), runtime.power(), runtime.launchAtLogin(),
                                 sources_->defaults},
        sources_->operations, sources_->links);
    DesktopAppearance::followBy(followAppKit);
    views_ = std::make_unique<CompanionViews>(*model_);
    panel_ = std::make_unique<PanelWindow>(*model_, *views_);
    item_ = std::make_unique<AppKitStatusItem>(
        [this](const AppKitStatusItem::Frame& icon) { panel_->toggle(rectangleOf(icon)); });
    QObject::connect(model_.get(), &CompanionModel::serverChanged, model_.get(),
                     [this] { item_->showConnected(model_->isClientConnected()); });
  }

  // The system lets an application come forward without a token.
  void useActivationToken(const std::string&) override {}

  void run() override {
    // The session, too, may ask the application to quit; then the companion ends what it began.
    while (!stopping_) {
      QGuiApplication::exec();
      if (!stopping_) sources_->operations.quit();
    }
    endWindows();
    queue_->stop();
  }

  void stop() override {
    stopping_ = true;
    queue_->async([] { QGuiApplication::exit(); });
  }

  std::unique_ptr<SetupWindow> makeWindow(const SetupWindowStyle& style,
                                          std::function<void()> onClose) override {
    setupView_ = views_->makeSetupWindow();
    return std::make_unique<QtSetupWindow>(*setupView_, style, std::move(onClose), activation_);
  }

  void setActivationPolicy(ActivationPolicy policy) override {
    policy == ActivationPolicy::regular ? appKit_.becomeRegular() : appKit_.becomeAccessory();
  }
  void activateIgnoringOtherApps() override { appKit_.activateIgnoringOtherApps(); }

 private:
  void endWindows() {
    panel_.reset();
    setupView_.reset();
    views_.reset();
    model_.reset();
    item_.reset();
  }

  Arguments arguments_;
  QGuiApplication application_;
  const std::shared_ptr<QtMainQueue> queue_;
  AppKitApplication appKit_;
  MacWindowActivation activation_;
  std::optional<UiModelSources> sources_;
  std::unique_ptr<AppKitStatusItem> item_;
  std::unique_ptr<CompanionModel> model_;
  std::unique_ptr<CompanionViews> views_;
  std::unique_ptr<QQuickView> setupView_;
  std::unique_ptr<PanelWindow> panel_;
  std::atomic<bool> stopping_ = false;
};

}  // namespace

std::unique_ptr<DesktopUi> makeMacDesktopUi() { return std::make_unique<MacDesktopUi>(); }

}  // namespace tevanto
