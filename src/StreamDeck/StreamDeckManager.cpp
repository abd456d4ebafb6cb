#include "StreamDeck/StreamDeckManager.h"

#include "StreamDeck/StreamDeckPackets.h"
#include "Support/Overloaded.h"

#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <utility>

using namespace std::chrono_literals;

StreamDeckManager::StreamDeckManager(TimerEngine& engine, CueController& cues,
    AppSettings& settings, Preferences& preferences, std::unique_ptr<StreamDeckHID> hid)
    : m_engine(engine)
    , m_cues(cues)
    , m_settings(settings)
    , m_preferences(preferences)
    , m_hid(std::move(hid))
{
    enabled = m_preferences.boolean(enabledKey.toString()).value_or(false);
    brightness = m_preferences.integer(brightnessKey.toString()).value_or(brightness);

    m_tick.setTimerType(Qt::PreciseTimer);
    m_tick.setInterval(100ms);
    QObject::connect(&m_tick, &QTimer::timeout, [this] { renderAll(Redraw::changed); });

    const std::weak_ptr<bool> isAlive = m_isAlive;
    const auto hop = [isAlive](auto handle) {
        return [isAlive, handle](const auto&... arguments) {
            QMetaObject::invokeMethod(
                qApp,
                [isAlive, handle, arguments...] {
                    if (!isAlive.expired())
                        handle(arguments...);
                },
                Qt::QueuedConnection);
        };
    };
    m_hid->onConnect = hop([this](const StreamDeckModel& model) { handleConnect(model); });
    m_hid->onDisconnect = hop([this] { handleDisconnect(); });
    m_hid->onKeyChange = hop([this](int key, bool pressed) { handleKeyChange(key, pressed); });
    m_hid->onAccessDenied = hop([this](const QString& message) { statusMessage = message; });
    if (enabled)
        m_hid->start();
}

void StreamDeckManager::setEnabled(bool value)
{
    enabled = value;
    m_preferences.setBoolean(enabledKey.toString(), value);
    if (value) {
        statusMessage = QString();
        m_hid->start();
    } else {
        m_hid->stop();
        handleDisconnect();
    }
}

void StreamDeckManager::setBrightness(qint64 percent)
{
    brightness = std::clamp<qint64>(percent, 5, 100);
    m_preferences.setInteger(brightnessKey.toString(), brightness);
    m_hid->setBrightness(brightness);
}

void StreamDeckManager::rescan()
{
    if (!enabled) {
        setEnabled(true);
        return;
    }
    statusMessage = QString();
    m_hid->rescan();
}

void StreamDeckManager::blankToBlack()
{
    if (!drawsKeys())
        return;
    m_tick.stop();
    const QImage black = StreamDeckImage::render({}, m_model->keyPixels);
    for (int key = 0; key < m_model->keyCount; ++key)
        send(black, key);
    m_hid->flushWrites();
}

void StreamDeckManager::handleConnect(const StreamDeckModel& model)
{
    // Gone again while the news was on its way, or another deck is there by now.
    if (m_hid->model() != model)
        return;
    m_model = model;
    connectedModelName = model.name;
    // Listening to a deck needs no permission here besides the one to open it.
    statusMessage = QString();
    m_hid->setBrightness(brightness);
    m_hid->reset();
    m_roles = defaultRoles(model);
    renderAll(Redraw::all);
    m_tick.start();
}

void StreamDeckManager::handleDisconnect()
{
    m_model.reset();
    connectedModelName = std::nullopt;
    m_roles.clear();
    m_lastFaces.clear();
    m_lastState.reset();
    m_tick.stop();
}

void StreamDeckManager::handleKeyChange(int key, bool pressed)
{
    if (!pressed || key >= m_roles.size())
        return;
    fire(m_roles[key]);
    renderAll(Redraw::changed);
}

void StreamDeckManager::renderAll(Redraw redraw)
{
    if (!drawsKeys())
        return;
    StreamDeckState state = StreamDeckState::of(m_engine, m_settings, m_cues);
    // As at nine ticks of ten; making all faces to see that none has changed takes far longer.
    if (redraw == Redraw::changed && state == m_lastState)
        return;
    m_lastFaces.resize(m_model->keyCount, StreamDeckImage::KeyFace::blank);
    for (int key = 0; key < m_model->keyCount; ++key) {
        const StreamDeckImage::KeyFace face = ::face(m_roles[key], state);
        if (redraw == Redraw::changed && face == m_lastFaces[key])
            continue;
        m_lastFaces[key] = face;
        send(StreamDeckImage::render(face, m_model->keyPixels), key);
    }
    m_lastState = std::move(state);
}

void StreamDeckManager::send(QImage picture, int key)
{
    const int deviceKey = m_model->mirroredKey(key);
    if (const auto image = StreamDeckImage::encode(std::move(picture), *m_model)) {
        m_hid->sendKeyPackets(deviceKey, StreamDeckImage::packets(*image, deviceKey, *m_model));
    }
}

bool StreamDeckManager::drawsKeys() const
{
    // The news that the deck has gone may still be on its way, and another one be open already.
    return m_model && m_model->hasDisplays() && m_hid->model() == m_model;
}

void StreamDeckManager::fire(const StreamDeckRole& role)
{
    std::visit(
        Overloaded {
            [this](const StreamDeckRole::QuickSet& quickSet) {
                m_engine.setSeconds = std::max<qint64>(0, quickSet.minutes * 60);
            },
            [this](const StreamDeckRole::Message& message) { m_engine.setMessage(message.text); },
            [this](StreamDeckRole::Plain plain) { fire(plain); },
        },
        role.value);
}

void StreamDeckManager::fire(StreamDeckRole::Plain role)
{
    using enum StreamDeckRole::Plain;
    const std::optional<qint64> cue = m_cues.currentIndex();
    switch (role) {
    case go:
        m_engine.start(TimerEngine::RunOrigin::operatorRequest);
        break;
    case pause:
        m_engine.togglePause();
        break;
    case stop:
        m_engine.stop();
        break;
    case addMinute:
        m_engine.addMinute();
        break;
    case subMinute:
        m_engine.subtractMinute();
        break;
    case cuePrev:
        if (cue)
            m_cues.select(*cue - 1);
        break;
    case cueNext:
        m_cues.next();
        break;
    case cueGo:
        m_cues.load(cue.value_or(0));
        break;
    case follow:
        m_settings.cueFollow = !m_settings.cueFollow;
        break;
    case blackout:
        m_engine.toggleBlackout();
        break;
    case attention:
        m_engine.strobe();
        break;
    case loop:
        m_engine.loop = !m_engine.loop;
        break;
    case overtime:
        m_settings.allowCountUp = !m_settings.allowCountUp;
        break;
    case clock:
        m_engine.setClock(m_engine.phase != TimerEngine::Phase::clock);
        break;
    case clearMessage:
        m_engine.setMessage(std::nullopt);
        break;
    case liveTime:
    case blank:
        break;
    }
}
