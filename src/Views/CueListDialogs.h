#pragma once

#include "Model/CueList.h"

#include <QWidget>

/// The dialogs around the running order. Each is modal to the window of `parent`, which owns it,
/// and returns at once: whatever is running goes on while one is open. `cues` must outlive
/// `parent`.
namespace CueListDialogs {

/// Asks where to, and writes the running order there as a cue document. One that cannot be
/// written is nobody's business.
void saveCues(CueController& cues, QWidget* parent);

/// Asks for a cue document, and replaces the running order with its own. One that cannot be read,
/// or is no such document, changes nothing.
void importCues(CueController& cues, QWidget* parent);

/// Empties the running order once the operator has said so.
void clearCues(CueController& cues, QWidget* parent);

} // namespace CueListDialogs
