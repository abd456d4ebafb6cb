#include "Update/UpdateChecker.h"

#include "Support/InformationDictionary.h"
#include "Support/Overloaded.h"
#include "Support/StrictJson.h"

#include <QApplication>
#include <QDesktopServices>
#include <QLabel>
#include <QLayout>
#include <QPlainTextEdit>
#include <QPluginLoader>
#include <QPushButton>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::milliseconds checkInterval = std::chrono::hours(24);

/// In points.
constexpr QSize iconSize(64, 64);
constexpr QSize longTextSize(400, 240);

const QString couldNotCheck = u"Couldn’t check for updates"_s;

/// The number that a piece of a version begins with.
qint64 leadingNumber(const QString& piece)
{
    const QList<uint> characters = piece.toUcs4();
    const auto end = std::ranges::find_if_not(
        characters, [](uint character) { return QChar::isNumber(character); });
    // 0 for what is no decimal number, or too large for one.
    return QString::fromUcs4(
        reinterpret_cast<const char32_t*>(characters.constData()), end - characters.begin())
        .toLongLong();
}

QList<qint64> numbersOf(const QString& version)
{
    QList<qint64> numbers;
    for (const QString& piece : version.split(u'.', Qt::SkipEmptyParts))
        numbers.append(leadingNumber(piece));
    return numbers;
}

/// The lines and characters that an alert shows without becoming too large for a small screen.
constexpr qsizetype mostLines = 12;
constexpr qsizetype mostCharacters = 600;
/// Some hundred screens: nobody reads on, and laying out more would hold up the show.
constexpr qsizetype mostShown = 50'000;

/// Puts a text where an alert has its informative one. What the feed says is text, whatever it
/// looks like; a long one scrolls, with the buttons staying on the screen.
void setInformativeText(QMessageBox& box, const QString& text)
{
    const bool isShort = text.size() <= mostCharacters && text.count(u'\n') < mostLines;
    box.setInformativeText(isShort ? text : u" "_s);
    for (QLabel* label : box.findChildren<QLabel*>())
        label->setTextFormat(Qt::PlainText);
    if (isShort)
        return;
    auto* view = new QPlainTextEdit(text.size() <= mostShown ? text : text.first(mostShown) + u'…');
    view->setReadOnly(true);
    view->setTabChangesFocus(true);
    view->setFrameShape(QFrame::NoFrame);
    view->viewport()->setAutoFillBackground(false);
    view->document()->setDocumentMargin(0);
    view->setMinimumSize(longTextSize);
    auto* label = box.findChild<QLabel*>(u"qt_msgbox_informativelabel"_s);
    const std::unique_ptr<QLayoutItem> item(box.layout()->replaceWidget(label, view));
    label->hide();
}

/// For a browser: an address of the web or nothing.
std::optional<QUrl> webAddress(const QString& text)
{
    const QUrl url(text, QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty()
        || (url.scheme() != u"http" && url.scheme() != u"https"))
        return std::nullopt;
    return url;
}

} // namespace

UpdateChecker::UpdateChecker(QJsonObject information, Preferences& preferences, Clock clock,
    std::chrono::milliseconds requestLimit)
    : m_information(std::move(information))
    , m_currentVersion(runningVersion(m_information))
    , m_preferences(preferences)
    , m_clock(std::move(clock))
    , m_requestLimit(requestLimit)
{
}

void UpdateChecker::checkInBackground(bool autoEnabled)
{
    if (!autoEnabled)
        return;
    const std::optional<QDateTime> last = lastCheck();
    if (!last || last->msecsTo(now()) > checkInterval.count())
        check(Initiator::launch);
}

void UpdateChecker::checkForUpdatesMenu()
{
    check(Initiator::user);
}

void UpdateChecker::check(Initiator initiator)
{
    const std::optional<QUrl> feed = feedURL();
    if (!feed) {
        handleFailure(u"No update feed is configured."_s, initiator);
        return;
    }
    // Found in the application's library paths, loaded once and never unloaded.
    QPluginLoader module(u"libtarrow-update"_s);
    m_download = qobject_cast<FeedDownload*>(module.instance());
    if (!m_download) {
        handleFailure(module.errorString(), initiator);
        return;
    }
    m_download->fetch(*feed, m_requestLimit, m_context,
        [this, initiator](const FeedDownload::Answer& answer) { handleAnswer(answer, initiator); });
}

void UpdateChecker::handleAnswer(const FeedDownload::Answer& answer, Initiator initiator)
{
    const auto* bytes = std::get_if<QByteArray>(&answer);
    const ManifestResult result =
        bytes ? decodeManifest(*bytes) : ManifestResult(std::get<QString>(answer));
    std::visit(Overloaded {
                   [&](const UpdateManifest& manifest) { handleManifest(manifest, initiator); },
                   [&](const QString& reason) { handleFailure(reason, initiator); },
               },
        result);
}

void UpdateChecker::handleManifest(const UpdateManifest& manifest, Initiator initiator)
{
    m_preferences.setText(lastCheckKey.toString(), now().toString(Qt::ISODateWithMs));
    if (isNewer(manifest.version, m_currentVersion)) {
        if (initiator == Initiator::user
            || m_preferences.text(skipKey.toString()) != manifest.version)
            present(manifest);
    } else if (initiator == Initiator::user) {
        showAlert(u"You’re up to date"_s,
            u"Tarrow %1 is the latest version."_s.arg(m_currentVersion), {{u"OK"_s}});
    }
}

void UpdateChecker::handleFailure(const QString& reason, Initiator initiator)
{
    if (initiator == Initiator::user)
        showAlert(couldNotCheck, reason, {{u"OK"_s}});
}

void UpdateChecker::present(const UpdateManifest& manifest)
{
    QString text =
        u"Tarrow %1 is available — you have %2."_s.arg(manifest.version, m_currentVersion);
    if (manifest.notes)
        text += u"\n\n"_s + *manifest.notes;
    const auto download = [address = webAddress(manifest.downloadURL)] {
        if (address)
            QDesktopServices::openUrl(*address);
    };
    const auto skip = [this, version = manifest.version] {
        m_preferences.setText(skipKey.toString(), version);
    };
    showAlert(u"A new version of Tarrow is available"_s, text,
        {{u"Download"_s, download}, {u"Skip This Version"_s, skip}, {u"Later"_s}});
}

void UpdateChecker::showAlert(
    const QString& message, const QString& informativeText, const QList<Choice>& choices)
{
    const auto alert = m_alerts.insert(m_alerts.end(), std::make_unique<QMessageBox>());
    QMessageBox& box = **alert;
    box.setIconPixmap(QApplication::windowIcon().pixmap(iconSize));
    box.setWindowTitle(u"Tarrow"_s);
    box.setText(message);
    setInformativeText(box, informativeText);
    for (const Choice& choice : choices) {
        // Desktops sort buttons by their roles, and leave those of one role as they are.
        const auto* button = box.addButton(choice.title, QMessageBox::ActionRole);
        if (choice.action)
            QObject::connect(button, &QAbstractButton::clicked, &m_context, choice.action);
    }
    box.setDefaultButton(qobject_cast<QPushButton*>(box.buttons().constFirst()));
    box.setEscapeButton(box.buttons().constLast());
    QObject::connect(
        &box, &QDialog::finished, &m_context, [this, alert] { m_alerts.erase(alert); },
        Qt::QueuedConnection);
    box.setWindowModality(Qt::ApplicationModal);
    box.show();
}

std::optional<QDateTime> UpdateChecker::lastCheck() const
{
    const QString stored = m_preferences.text(lastCheckKey.toString()).value_or(QString());
    const QDateTime time = QDateTime::fromString(stored, Qt::ISODateWithMs);
    return time.isValid() ? std::optional(time) : std::nullopt;
}

QDateTime UpdateChecker::now() const
{
    const auto sinceEpoch = floor<std::chrono::milliseconds>(m_clock()).time_since_epoch();
    return QDateTime::fromMSecsSinceEpoch(sinceEpoch.count(), Qt::UTC);
}

std::optional<QUrl> UpdateChecker::feedURL() const
{
    const std::optional<QString> text =
        JsonForm<QString>::decode(m_information.value(u"TRUpdateFeedURL"));
    return text ? webAddress(*text) : std::nullopt;
}

bool UpdateChecker::isNewer(const QString& a, const QString& b)
{
    // What is missing counts as 0.
    QList<qint64> numbersOfA = numbersOf(a);
    QList<qint64> numbersOfB = numbersOf(b);
    const qsizetype length = std::max(numbersOfA.size(), numbersOfB.size());
    numbersOfA.resize(length);
    numbersOfB.resize(length);
    return numbersOfA > numbersOfB;
}
