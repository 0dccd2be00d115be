#include "app/connection_view.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/app_look.h"
#include "app/empty_state_view.h"
#include "models/app_model.h"

namespace vells::app {

using Kind = models::ConnectionState::Kind;

ConnectionView::ConnectionView(models::AppModel& app, QWidget* parent)
    : QStackedWidget(parent),
      app_(app),
      connecting_(new QWidget(this)),
      offline_(new EmptyStateView(QStringLiteral("bolt.horizontal.circle"),
                                  QStringLiteral("Can’t open the library"), QString(), this)) {
  auto* column = new QVBoxLayout(connecting_);
  column->addStretch(1);
  auto* busy = new QProgressBar(connecting_);
  busy->setRange(0, 0);
  busy->setTextVisible(false);
  busy->setFixedSize(160, 6);
  busy->setAccessibleName(QStringLiteral("Opening the library…"));
  auto* words = new QLabel(QStringLiteral("Opening the library…"), connecting_);
  words->setObjectName(QStringLiteral("connectingWords"));
  column->addWidget(busy, 0, Qt::AlignHCenter);
  column->addSpacing(12);
  column->addWidget(words, 0, Qt::AlignHCenter);
  column->addStretch(1);
  addWidget(connecting_);

  tryAgain_ = offline_->addAction(QStringLiteral("Try Again"));
  QPushButton* settings =
      offline_->addAction(QStringLiteral("Settings"), QStringLiteral("gearshape"));
  connect(tryAgain_, &QPushButton::clicked, this, [this] { app_.reconnect(); });
  connect(settings, &QPushButton::clicked, this, &ConnectionView::settingsRequested);
  addWidget(offline_);

  // Both screens stand on the quiet grey the canvas and the gallery use.
  setAutoFillBackground(true);
  QPalette ground = palette();
  ground.setColor(QPalette::Window, AppLook::backdrop(ground));
  setPalette(ground);
  connect(&app_, &models::AppModel::connectionChanged, this, &ConnectionView::follow);
  follow();
}

void ConnectionView::follow() {
  const auto& state = app_.connection();
  if (state.kind == Kind::offline) {
    offline_->setMessage(QString::fromStdString(state.message));
    setCurrentWidget(offline_);
  } else {
    setCurrentWidget(connecting_);
  }
}

}  // namespace vells::app
