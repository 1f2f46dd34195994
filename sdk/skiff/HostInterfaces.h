// Skiff plug-in SDK: interfaces that the host implements and hands to a sink.
//
// Unless an operation says otherwise, the host keeps ownership: a sink that
// keeps one of these beyond the call AddRefs it and Releases it when done.
#pragma once

#include "CProp.h"
#include "FxBase.h"

// The items of one finished download.
class ISinkEnumMediaItem : public IFxBase {
 public:
  // Copies the session record (a CPropSource whose appPath is the
  // destination folder) into `record`; kFxErrInvalidArg when its header is
  // not that of a CPropSource.
  virtual FxResult GetSessionRecord(CProp& record) = 0;
  virtual FxResult GetCount(unsigned long& count) = 0;
  virtual FxResult Reset() = 0;
  // Copies the next item into `record` (a CPropSinkMediaItem header) and
  // advances. Returns non-zero (kFxEndOfEnum) after the last item.
  virtual FxResult Next(CProp& record) = 0;

 protected:
  ~ISinkEnumMediaItem() = default;
};

// Shows messages in the host's own windows.
class IDisplayMsgHandler : public IFxBase {
 public:
  virtual FxResult ShowMessage(const FxChar* caption, const FxChar* text) = 0;
  // Asks a yes/no question; answerIndex is 0 for yes, 1 for no.
  virtual FxResult AskYesNo(const FxChar* caption, const FxChar* text, long& answerIndex) = 0;

 protected:
  ~IDisplayMsgHandler() = default;
};

// The host's progress window for work that the sink does item by item.
class IProgressHandler : public IFxBase {
 public:
  // Opens the window for `count` steps. The host sets *cancelled to true
  // when the user presses the cancel button; the flag must stay valid until
  // the window is closed by ShowMessage.
  virtual FxResult Start(unsigned long count, volatile bool* cancelled, const FxChar* caption,
                         const FxChar* cancelText) = 0;
  virtual FxResult Step() = 0;
  // Shows the outcome; success selects the icon.
  virtual FxResult ShowMessage(const FxChar* caption, const FxChar* text, bool success) = 0;

 protected:
  ~IProgressHandler() = default;
};

// One widget of the sink's settings panel, wrapping the host's real widget.
class IFxWidget : public IFxBase {
 public:
  // The checked state of a check box; false for other widgets.
  virtual bool IsChecked() = 0;
  virtual void SetChecked(bool checked) = 0;
  virtual bool IsEnabled() = 0;
  virtual void SetEnabled(bool enabled) = 0;
  // The visible text; for a label the text it shows.
  virtual void SetText(const FxChar* text) = 0;
  // Copies the visible text into buf, at most size units with terminator.
  virtual void GetText(FxChar* buf, unsigned int size) = 0;
  // A label's second text: the full path behind a shortened one, shown as tool tip.
  virtual void SetSecondText(const FxChar* text) = 0;
  // The wrapped QWidget, for fonts and geometry. Owned by the host.
  virtual void* NativeWidget() = 0;

 protected:
  ~IFxWidget() = default;
};

// Object names under which the host finds the widgets of the sink's panel
// form (the plug-in's Tessel_custom_options.ui).
#define SKIFF_WIDGET_SETTINGS_BUTTON "settings_button"
#define SKIFF_WIDGET_DNG_CHECKBOX "dng_checkbox"
#define SKIFF_WIDGET_LAUNCH_TESSEL_CHECKBOX "launchtessel_checkbox"
#define SKIFF_WIDGET_DELETE_FILES_CHECKBOX "deletefiles_checkbox"
#define SKIFF_WIDGET_SAVE_COPIES_CHECKBOX "savecopies_checkbox"
#define SKIFF_WIDGET_SECONDARY_BACKUP_LABEL "secondarybackup_label"
#define SKIFF_WIDGET_BROWSE_BUTTON "browse_button"

// The host's side of the sink's settings panel.
class IClientUIHandler : public IFxBase {
 public:
  // Finds the panel widget with the given object name. On success *out (null
  // on entry) receives it AddRef'd and the result is kFxOk; kFxErrInvalidArg
  // when there is no such widget.
  virtual FxResult GetWidget(const char* objectName, IFxWidget** out) = 0;

 protected:
  ~IClientUIHandler() = default;
};
