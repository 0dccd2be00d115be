#pragma once

#include <QSettings>
#include <QString>

#include "app/dialog_file_saver.h"
#include "assistants/chat_threads.h"
#include "assistants/login_shell.h"
#include "assistants/tool_finder.h"
#include "assistants/tool_preference.h"
#include "capture/device_capture.h"
#include "capture/device_capture_model.h"
#include "capture/screen_import_model.h"
#include "models/api_client.h"
#include "models/app_model.h"
#include "models/canvas_model.h"
#include "models/editor_model.h"
#include "models/gallery_model.h"
#include "models/gesture_controller.h"
#include "models/image_store.h"
#include "models/model_clock.h"
#include "models/text_fonts.h"
#include "preview/preview_engine.h"
#include "preview/preview_model.h"
#include "routes/local_service.h"

namespace vells::app {

// Every long-lived object below the windows, built in the order they depend
// on one another and destroyed in reverse: the backend with its script host
// and render pool, the client, and the models. main() makes one and hands
// its parts to the windows.
struct ApplicationParts {
  explicit ApplicationParts(const QString& settingsFile, routes::LocalServiceOptions options = {});
  ApplicationParts(const ApplicationParts&) = delete;
  ApplicationParts& operator=(const ApplicationParts&) = delete;

  QString libraryPath;
  QSettings settings;
  routes::LocalService service;
  models::QtTimerClock clock;
  models::APIClient client;
  models::ImageStore images;
  models::AppModel app;
  DialogFileSaver saver;
  models::EditorModel editor;
  models::CanvasModel canvas;
  models::GalleryModel gallery;
  models::GestureController gestures;
  models::TextFonts fonts;
  // The canvas's live picture, in a browser of its own.
  preview::PreviewEngine previewEngine;
  preview::PreviewModel preview;
  // Phones, emulators and folders of screenshots.
  capture::DeviceCapture deviceCapture;
  capture::DeviceCaptureModel captureModel;
  capture::ScreenImportModel importer;
  // The AI tools on this computer and the editor's conversations with them.
  assistants::LoginShell loginShell;
  assistants::ToolFinder toolFinder;
  assistants::ToolPreference toolPreference;
  assistants::ChatThreads chats;
};

}  // namespace vells::app
