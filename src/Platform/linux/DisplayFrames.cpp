#include "Platform/DisplayFrames.h"

#include <QGuiApplication>

#include <cstdlib>
#include <memory>

#include <xcb/randr.h>

namespace {

struct Free {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename Reply> using ReplyPointer = std::unique_ptr<Reply, Free>;

/// Qt's own connection to the X server; null where there is none.
xcb_connection_t* connection()
{
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

xcb_window_t rootWindow(xcb_connection_t* server)
{
    return xcb_setup_roots_iterator(xcb_get_setup(server)).data->root;
}

QString atomName(xcb_connection_t* server, xcb_atom_t atom)
{
    const ReplyPointer<xcb_get_atom_name_reply_t> reply(
        xcb_get_atom_name_reply(server, xcb_get_atom_name(server, atom), nullptr));
    if (!reply)
        return {};
    return QString::fromUtf8(
        xcb_get_atom_name_name(reply.get()), xcb_get_atom_name_name_length(reply.get()));
}

} // namespace

DisplayFrames::DisplayFrames(std::function<void()> onChange)
    : m_onChange(std::move(onChange))
{
    xcb_connection_t* server = connection();
    if (!server)
        return;
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(server, &xcb_randr_id);
    if (!extension || !extension->present)
        return;
    m_changeEvent = static_cast<quint8>(extension->first_event + XCB_RANDR_SCREEN_CHANGE_NOTIFY);
    QCoreApplication::instance()->installNativeEventFilter(this);
}

DisplayFrames::~DisplayFrames() = default;

std::optional<QHash<QString, QRect>> DisplayFrames::frames() const
{
    if (m_changeEvent == 0)
        return std::nullopt;
    xcb_connection_t* server = connection();
    constexpr uint8_t onlyActive = 1;
    const ReplyPointer<xcb_randr_get_monitors_reply_t> reply(xcb_randr_get_monitors_reply(
        server, xcb_randr_get_monitors(server, rootWindow(server), onlyActive), nullptr));
    if (!reply)
        return std::nullopt;
    QHash<QString, QRect> frames;
    for (auto monitors = xcb_randr_get_monitors_monitors_iterator(reply.get()); monitors.rem > 0;
         xcb_randr_monitor_info_next(&monitors)) {
        const xcb_randr_monitor_info_t& monitor = *monitors.data;
        frames.insert(atomName(server, monitor.name),
            QRect(monitor.x, monitor.y, monitor.width, monitor.height));
    }
    return frames;
}

bool DisplayFrames::nativeEventFilter(
    const QByteArray& eventType, void* message, qintptr* /*result*/)
{
    constexpr quint8 sentByAClient = 0x80;
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto& event = *static_cast<const xcb_generic_event_t*>(message);
    // Qt goes first: it may be about to tell of displays that have come or gone.
    if ((event.response_type & ~sentByAClient) == m_changeEvent && !m_isTelling) {
        m_isTelling = true;
        QMetaObject::invokeMethod(
            &m_context, [this] { tell(); }, Qt::QueuedConnection);
    }
    return false;
}

void DisplayFrames::tell()
{
    m_isTelling = false;
    m_onChange();
}
