#pragma once

#include "Model/CueList.h"

#include <QProperty>
#include <QWidget>

class CueRowsView;
class QLabel;
class QLineEdit;
class QPushButton;

/// The editor of the running order: its rows, a line to add a cue, stepping and follow, and the
/// file of the whole.
///
/// It follows `cues` and `settings`, which must outlive it, and keeps nothing itself but what
/// stands in the two fields of the line that adds.
class CueListView final : public QWidget {
    Q_OBJECT

public:
    CueListView(CueController& cues, AppSettings& settings, QWidget* parent = nullptr);

private:
    [[nodiscard]] QLayout* makeAddRow();
    [[nodiscard]] QLayout* makeSteppingRow(AppSettings& settings);
    [[nodiscard]] QLayout* makeFileRow();
    void addCue();
    void showWhetherEmpty();

    CueController& m_cues;
    QLabel* m_emptyText;
    CueRowsView* m_rows;
    QLineEdit* m_newTitle = nullptr;
    QLineEdit* m_newMinutes = nullptr;
    QPushButton* m_save = nullptr;
    QPushButton* m_clear = nullptr;
    QPropertyNotifier m_cuesNotifier;
    QPropertyNotifier m_followNotifier;
};
