#pragma once

// The inspector column on the editor's real stack: a temp library with set
// "a" and its pages loaded, the canvas model, and the column shown at its
// default width.
#include <QApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QTest>

#include "app/inspector_panel.h"
#include "app/inspector_view.h"
#include "app/number_input.h"
#include "models/canvas_model.h"
#include "models/editor_fixture.h"

namespace vells::testing {

struct InspectorStack : EditorStack {
  models::CanvasModel canvas{editor, app};
  app::InspectorView view{editor, app, canvas, images, settings};

  InspectorStack() {
    view.resize(320, 900);
    view.show();
  }

  // The number field of a row, by the row's label.
  app::NumberInput* number(const QString& label) {
    for (auto* n : view.panel()->findChildren<app::NumberInput*>())
      if (n->accessibleName() == label) return n;
    ADD_FAILURE() << "no number row " << label.toStdString();
    return nullptr;
  }
  // The number field with an axis letter ("X", "Y") in the panel.
  app::NumberInput* axis(const QString& letter) {
    for (auto* n : view.panel()->findChildren<app::NumberInput*>())
      for (auto* l : n->findChildren<QLabel*>())
        if (l->text() == letter) return n;
    ADD_FAILURE() << "no axis " << letter.toStdString();
    return nullptr;
  }
  static void type(QWidget* field, const QString& text) {
    field->setFocus();
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(field, text);
    QTest::keyClick(field, Qt::Key_Return);
  }
  // A drag sideways by `dx` points on a row's label.
  static void drag(QWidget* handle, int dx) {
    const QPoint from = handle->rect().center();
    const auto send = [&](QEvent::Type type, QPoint at, Qt::MouseButtons buttons) {
      QMouseEvent e(type, QPointF(at), QPointF(handle->mapToGlobal(at)),
                    type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton, buttons,
                    Qt::NoModifier);
      QApplication::sendEvent(handle, &e);
    };
    send(QEvent::MouseButtonPress, from, Qt::LeftButton);
    for (int step = 1; step <= 4; ++step)
      send(QEvent::MouseMove, from + QPoint(dx * step / 4, 0), Qt::LeftButton);
    send(QEvent::MouseButtonRelease, from + QPoint(dx, 0), Qt::NoButton);
  }
  QLabel* labelOf(QWidget* control) {
    for (auto* l : view.panel()->findChildren<QLabel*>())
      if (l->buddy() && (l->buddy() == control || l->buddy()->isAncestorOf(control))) return l;
    return nullptr;
  }
  // The stored base style of the home page, once the debounced save ran.
  JSONValue storedHome() {
    wait(500);
    const JSONValue all = stored("styles", "a");
    const JSONValue* home = all.find("home");
    return home ? *home : JSONValue::object();
  }
  double homeNumber(StyleField f) {
    const auto v = editor.pageStyle("home")[f];
    return v && v->asNumber() ? *v->asNumber() : -99999;
  }
};

}  // namespace vells::testing
