#pragma once

#include "Model/TimerEngine.h"
#include "Views/MessageTransition.h"
#include "Views/OutputPicture.h"

#include <QWidget>

/// The audience picture as a widget that fills whatever room it is given.
///
/// It repaints what has visibly changed and nothing else: a new second repaints the box of the
/// time alone, and behind a blackout time passes without a stroke.
class OutputView : public QWidget {
public:
    /// All three must outlive the view.
    OutputView(TimerEngine& engine, AppSettings& settings, MessageAnimator& animator,
        QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] OutputContent content() const;
    void updateWhatChanged();

    TimerEngine& m_engine;
    AppSettings& m_settings;
    MessageAnimator& m_animator;
    /// What has been painted, or is about to be.
    OutputContent m_shown;
    std::vector<QPropertyNotifier> m_notifiers;
};
