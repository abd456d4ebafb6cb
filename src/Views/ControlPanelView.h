#pragma once

#include "Model/CueList.h"
#include "Model/OutputRouter.h"
#include "StreamDeck/StreamDeckControlling.h"
#include "Views/MessageTransition.h"

#include <QWidget>

#include <functional>

class ConsolePreview;
class OutputSection;
class QScrollArea;
class SymbolButton;

enum class ConsoleMode { timer, cues, clock };

/// The heights that the console's two blocks need, in points.
struct ConsoleHeights {
    /// Preview, modes and transport.
    int compact = 0;
    /// The settings; 0 while they are hidden.
    int expanded = 0;

    bool operator==(const ConsoleHeights&) const = default;
};

/// Everything in the operator's window: the preview, the modes with their transport, and the
/// settings on request, which scroll when they get less room than they need.
///
/// It follows every change of the models, and edits them. The mode, and what is written into a
/// field and not sent, are its own.
class ControlPanelView final : public QWidget {
public:
    /// In points.
    static constexpr int width = 340;

    /// All of them must outlive the view.
    struct Models {
        TimerEngine& engine;
        AppSettings& settings;
        CueController& cues;
        OutputRouter& router;
        StreamDeckControlling& streamDeck;
        MessageAnimator& messageAnimator;
    };

    explicit ControlPanelView(const Models& models, QWidget* parent = nullptr);
    ControlPanelView(const ControlPanelView&) = delete;
    ControlPanelView& operator=(const ControlPanelView&) = delete;
    ~ControlPanelView() override;

    /// Called when the operator wants the console above other windows, or no longer.
    std::function<void(bool)> onAlwaysOnTop;
    /// Called when the heights have changed.
    std::function<void(const ConsoleHeights&)> onSizes;

    [[nodiscard]] ConsoleHeights heights() const;

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] QWidget* makeCompactBlock();
    [[nodiscard]] QLayout* makeModeBar();
    [[nodiscard]] QWidget* makeExpandedBlock();
    [[nodiscard]] QWidget* makeCueList();
    [[nodiscard]] QLayout* makeOptions();
    void setMode(ConsoleMode mode);
    [[nodiscard]] QWidget& shownControls() const;
    void keepFocusFrom(const QWidget& leaving);
    void setExpanded(bool isExpanded);
    void showScreens();
    void shapePreview();
    void reportHeights();

    Models m_models;
    ConsoleMode m_mode = ConsoleMode::timer;
    bool m_isExpanded = false;
    ConsoleHeights m_reported;

    ConsolePreview* m_preview = nullptr;
    SymbolButton* m_expandButton = nullptr;
    /// One for each mode, in the modes' order.
    std::vector<QWidget*> m_controls;
    QWidget* m_compactBlock = nullptr;
    /// With the divider above it. Made when it is first wanted.
    QWidget* m_expandedBlock = nullptr;
    QWidget* m_settingsColumn = nullptr;
    OutputSection* m_outputSection = nullptr;
    QPropertyNotifier m_buzzerNotifier;
    std::vector<QPropertyNotifier> m_shapeNotifiers;
};
