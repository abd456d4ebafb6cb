#include "Views/OutputSection.h"

#include "Net/LocalIP.h"
#include "Support/Follow.h"
#include "Support/Fonts.h"
#include "Views/Components/Divider.h"

#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// No event tells that the machine's address has changed; a new cable shows within this time.
constexpr auto addressInterval = 2s;

QString label(const ScreenInfo& screen)
{
    // A check box would take "&" for the mark of a key.
    const QString name = QString(screen.name).replace(u'&', u"&&"_s);
    return u"%1 — %2×%3%4"_s.arg(name, QString::number(screen.width),
        QString::number(screen.height), screen.isMain ? u"  (main)"_s : QString());
}

QString webBaseURL(qint64 port)
{
    const std::optional<QString> address = LocalIP::address();
    return address ? u"http://%1:%2"_s.arg(*address).arg(port) : u"port %1 (offline)"_s.arg(port);
}

} // namespace

OutputSection::OutputSection(AppSettings& settings, QWidget* parent)
    : GroupBox(u"Output"_s, parent)
    , m_settings(settings)
    , m_noScreens(u"No displays found"_s)
{
    m_noScreens.setForegroundRole(QPalette::PlaceholderText);
    m_screenRows.setSpacing(column().spacing());
    column().addLayout(&m_screenRows);
    column().addWidget(&m_noScreens);
    column().addWidget(new Divider(this));

    const auto addToggle = [&](const QString& text, const QString& help, QProperty<bool>& on) {
        auto* toggle = new Toggle(text, this);
        toggle->setToolTip(help);
        column().addWidget(toggle);
        m_notifiers.push_back(bindToggle(*toggle, on));
    };
    addToggle(u"NDI output"_s,
        u"Send the timer as an NDI source (works with no external display)"_s, settings.ndiEnabled);
    addToggle(u"Web remote"_s, u"Control from a phone/browser on the network"_s,
        settings.webRemoteEnabled);

    auto* addresses = new QVBoxLayout;
    QFont addressFont = Fonts::monospaced(11, QFont::Normal);
    // The typeface would draw "://" as one sign.
    addressFont.setStyleStrategy(QFont::PreferNoShaping);
    addresses->setSpacing(3);
    for (QLabel* address : {&m_controlAddress, &m_displayAddress}) {
        address->setFont(addressFont);
        address->setForegroundRole(QPalette::PlaceholderText);
        address->setTextFormat(Qt::PlainText);
        address->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        address->setWordWrap(true);
        addresses->addWidget(address);
    }
    column().addLayout(addresses);

    m_addressTimer.setInterval(addressInterval);
    connect(&m_addressTimer, &QTimer::timeout, this, [this] { showAddresses(); });
    m_notifiers.push_back(follow(settings.webRemoteEnabled, [this](bool) { showAddresses(); }));
    m_notifiers.push_back(settings.webPort.addNotifier([this] { showAddresses(); }));
    m_notifiers.push_back(settings.enabledScreenIDs.addNotifier([this] { showChoice(); }));
}

void OutputSection::showScreens(const QList<ScreenInfo>& screens)
{
    const QList<ScreenInfo> before = std::exchange(m_screens, screens);
    const auto count = static_cast<size_t>(screens.size());
    while (m_screenToggles.size() < count)
        addScreenToggle();
    while (m_screenToggles.size() > count) {
        const std::unique_ptr<Toggle> gone(m_screenToggles.back());
        m_screenToggles.pop_back();
    }
    for (qsizetype i = 0; i < screens.size(); ++i) {
        Toggle& toggle = *m_screenToggles[static_cast<size_t>(i)];
        toggle.setText(label(screens[i]));
        // A press that began on one display must not end on another.
        if (i < before.size() && before[i].id != screens[i].id)
            toggle.setDown(false);
    }
    m_noScreens.setVisible(screens.isEmpty());
    showChoice();
}

void OutputSection::showEvent(QShowEvent* event)
{
    GroupBox::showEvent(event);
    showAddresses();
    m_addressTimer.start();
}

void OutputSection::hideEvent(QHideEvent* event)
{
    GroupBox::hideEvent(event);
    m_addressTimer.stop();
}

void OutputSection::addScreenToggle()
{
    auto* toggle = new Toggle({}, this);
    const auto position = static_cast<qsizetype>(m_screenToggles.size());
    connect(toggle, &QAbstractButton::clicked, this,
        [this, position](bool isOn) { choose(m_screens[position].id, isOn); });
    m_screenRows.addWidget(toggle);
    // Reached before what was made earlier and lies below.
    QWidget* before =
        m_screenToggles.empty() ? &m_noScreens : static_cast<QWidget*>(m_screenToggles.back());
    while (before->focusPolicy() == Qt::NoFocus)
        before = before->previousInFocusChain();
    setTabOrder(before, toggle);
    m_screenToggles.push_back(toggle);
}

void OutputSection::choose(quint32 screen, bool isChosen)
{
    std::set<quint32> chosen = m_settings.enabledScreenIDs;
    if (isChosen)
        chosen.insert(screen);
    else
        chosen.erase(screen);
    m_settings.enabledScreenIDs = chosen;
}

void OutputSection::showChoice()
{
    const std::set<quint32> chosen = m_settings.enabledScreenIDs;
    for (size_t i = 0; i < m_screenToggles.size(); ++i)
        m_screenToggles[i]->setChecked(chosen.contains(m_screens[static_cast<qsizetype>(i)].id));
}

void OutputSection::showAddresses()
{
    const bool isOn = m_settings.webRemoteEnabled;
    m_controlAddress.setVisible(isOn);
    m_displayAddress.setVisible(isOn);
    if (!isOn)
        return;
    const QString base = webBaseURL(m_settings.webPort);
    m_controlAddress.setText(u"Control: "_s + base);
    m_displayAddress.setText(u"Display: %1/display"_s.arg(base));
}
