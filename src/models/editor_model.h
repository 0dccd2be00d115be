#pragma once

#include <QObject>
#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "document/records.h"
#include "document/vell_style.h"
#include "document/vell_text.h"
#include "models/api_client.h"
#include "models/file_saver.h"
#include "models/model_clock.h"

namespace vells::models {

class AppModel;

enum class StyleScope { all, locale };
enum class InspectorMode { chat, design };
// Where several style fields go at once: the active page's base style, its
// style in the active language, or the base style of every page of the set.
enum class StyleTarget { page, locale, allPages };

// The line under the canvas; an empty text shows nothing.
struct StatusLine {
  std::string text;
  bool isError = false;
  friend bool operator==(const StatusLine&, const StatusLine&) = default;
};

// What the editor works on: the texts and styles of the active set, the state
// of the active page, the undo history and the status line. An edit changes
// the in-memory documents at once; debounced saves write whole documents
// later, each to the set it was made in. Main thread only.
class EditorModel : public QObject {
  Q_OBJECT

 public:
  static constexpr std::chrono::milliseconds textSaveDelay{600};
  static constexpr std::chrono::milliseconds styleSaveDelay{400};
  static constexpr std::chrono::milliseconds savedShownFor{1500};
  // A pause longer than this inside a burst of changes starts a new undo step.
  static constexpr std::int64_t checkpointPauseMs = 800;
  static constexpr std::size_t undoLimit = 60;

  EditorModel(ModelClock& clock, FileSaver& saver, QObject* parent = nullptr);

  // --- documents and page state ---
  const std::optional<TextsDocument>& texts() const { return texts_; }
  const std::optional<StylesDocument>& styles() const { return styles_; }
  const std::optional<ScreenTextsResponse>& screenTexts() const { return screenTexts_; }
  const std::optional<VellText>& savedText() const { return savedText_; }
  bool hasPendingText() const { return pending_.has_value(); }
  bool hasBackground() const { return hasBackground_; }
  bool hasOverlay() const { return hasOverlay_; }
  bool hasScreen() const { return hasScreen_; }
  int screenVersion() const { return screenVersion_; }
  int backgroundVersion() const { return backgroundVersion_; }
  int overlayVersion() const { return overlayVersion_; }
  int previewVersion() const { return previewVersion_; }
  bool isDownloading() const { return isDownloading_; }
  const StatusLine& status() const { return status_; }
  InspectorMode inspectorMode() const { return inspectorMode_; }
  void setInspectorMode(InspectorMode mode);
  StyleScope styleScope() const { return styleScope_; }
  void setStyleScope(StyleScope scope);

  // The title as typed, for the active page and language. A keystroke sets it
  // and then calls scheduleTextSave().
  const std::string& title() const { return title_; }
  void setTitleText(std::string text);
  const std::map<std::string, std::string>& screenValues() const { return screenValues_; }
  void setScreenValue(const std::string& key, std::string value);
  // The screen texts that differ from their defaults: what gets stored.
  std::map<std::string, std::string> screenOverrides() const;
  void resetScreenTexts();

  // --- loading; `done` runs when the load has landed or was superseded ---
  void loadSet(AppModel& app, std::function<void()> done = {});
  void loadPage(AppModel& app, std::function<void()> done = {});

  // --- styles ---
  // page@locale while the scope is one language, else the page id.
  std::string styleKey(const std::string& page, const std::string& locale) const;
  // Where the page's layers are read and written: page@locale when that entry
  // holds `layers` (so an edit never vanishes behind it), else styleKey().
  std::string layersKey(const std::string& page, const std::string& locale) const;
  ResolvedStyle resolved(const std::string& page, const std::string& locale) const;
  VellStyle pageStyle(const std::string& page) const;
  VellStyle localeStyle(const std::string& page, const std::string& locale) const;
  void setStyle(StyleField field, std::optional<JSONValue> value, AppModel& app);
  void setStyleFields(const std::map<StyleField, std::optional<JSONValue>>& fields,
                      StyleTarget target, AppModel& app);

  // --- texts ---
  // On the page and language on screen it only sets the title as typed;
  // elsewhere it saves the texts, and `done` runs once that save has ended.
  void setTitle(const std::string& text, const std::string& page, const std::string& locale,
                AppModel& app, std::function<void()> done = {});
  void scheduleTextSave(AppModel& app);
  // Sends a waiting text now; `done` runs when it has landed or failed.
  void flushTextSave(std::function<void()> done = {});
  // Sends a sleeping style save now; `done` runs once no style save is left.
  void flushStyleSave(std::function<void()> done = {});

  // --- undo ---
  void checkpoint();
  // The form for continuous controls and nudges: one step per burst.
  void checkpointIfIdle();
  void undo(AppModel& app);
  void redo(AppModel& app);
  std::size_t undoDepth() const { return undoStack_.size(); }
  std::size_t redoDepth() const { return redoStack_.size(); }

  // --- pictures of the page ---
  // `appearance` defaults to the current theme.
  void setScreen(std::string bytes, const std::string& mime, AppModel& app, bool localeOnly,
                 std::optional<ThemeName> appearance = std::nullopt,
                 std::function<void()> done = {});
  void removeScreen(AppModel& app, bool localeOnly, std::function<void()> done = {});
  void setBackground(std::string bytes, const std::string& mime, AppModel& app,
                     std::function<void()> done = {});
  void removeBackground(AppModel& app, std::function<void()> done = {});
  void copyBackgroundToAllPages(const std::string& from, AppModel& app);
  // The page at store resolution through the file saver.
  void downloadPNG(AppModel& app, std::function<void()> done = {});

  // The status line; a positive `clearAfter` clears it after that long.
  void show(std::string text, bool isError,
            std::chrono::milliseconds clearAfter = std::chrono::milliseconds{0});
  // A failure as an error in the status: the backend's own sentence when its
  // answer carries one.
  void showError(const APIError& error);

 signals:
  void textsChanged();
  void stylesChanged();
  void titleChanged();
  void screenValuesChanged();
  void statusChanged();
  void historyChanged();
  // undo or redo put an older document in place: selections may be stale.
  void historyApplied();
  void pageStateChanged();
  void downloadingChanged();
  void inspectorModeChanged();
  void styleScopeChanged();

 private:
  struct PendingText {
    std::string set;
    TextsDocument texts;
    VellText saved;
    bool reloadsPreview = false;
  };
  struct PendingStyles {
    std::string set;
    StylesDocument styles;
  };

  void adoptText(const AppModel& app);
  void applyScreenTexts(std::optional<ScreenTextsResponse> answer);
  void commitText();
  void scheduleStyleSave(AppModel& app, bool immediate);
  void sendStyles();
  void styleSaveEnded();
  void textSaveEnded();
  void bindHistory(const std::string& set);
  void restore(std::vector<StylesDocument>& from, std::vector<StylesDocument>& to, AppModel& app);

  ModelClock& clock_;
  FileSaver& saver_;

  std::optional<TextsDocument> texts_;
  std::optional<StylesDocument> styles_;
  std::optional<ScreenTextsResponse> screenTexts_;
  bool hasBackground_ = false;
  bool hasOverlay_ = false;
  bool hasScreen_ = false;
  int screenVersion_ = 0;
  int backgroundVersion_ = 0;
  int overlayVersion_ = 0;
  int previewVersion_ = 0;
  std::string title_;
  std::map<std::string, std::string> screenValues_;
  StyleScope styleScope_ = StyleScope::all;
  StatusLine status_;
  bool isDownloading_ = false;
  InspectorMode inspectorMode_ = InspectorMode::chat;

  // The history belongs to `historySet_`; another set starts a new one.
  std::string historySet_;
  std::vector<StylesDocument> undoStack_;
  std::vector<StylesDocument> redoStack_;
  std::optional<std::int64_t> lastCheckpointAt_;

  std::optional<VellText> savedText_;
  std::optional<PendingText> pending_;
  TimerHandle textTimer_;
  bool textInFlight_ = false;
  // The pending text's delay has passed (or a flush asked) while a save ran.
  bool textDue_ = false;
  std::vector<std::function<void()>> textWaiters_;

  // The newest style document not yet sent, with the set it was edited in.
  std::optional<PendingStyles> pendingStyles_;
  TimerHandle styleTimer_;
  bool styleInFlight_ = false;
  std::vector<std::function<void()>> styleWaiters_;

  TimerHandle statusTimer_;
  std::uint64_t setToken_ = 0;
  std::uint64_t pageToken_ = 0;
  // The client of the last load: a flush needs no AppModel.
  APIClient* lastClient_ = nullptr;
};

}  // namespace vells::models
