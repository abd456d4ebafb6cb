#pragma once

#include <QObject>
#include <QProperty>

#include <functional>

/// Follows a property through the event loop: delivers its current value and then every other
/// value, each in a turn of the loop after the one that set it, and nothing once it is gone.
///
/// For what starts, stops or rebuilds a service, which must not happen in the middle of the
/// change that asks for it.
template <typename T> class EventLoopSubscription {
public:
    /// `property` must outlive the subscription.
    EventLoopSubscription(QProperty<T>& property, std::function<void(const T&)> deliver)
        : m_deliver(std::move(deliver))
        , m_notifier(property.addNotifier([this, &property] { post(property.value()); }))
    {
        post(property.value());
    }
    EventLoopSubscription(const EventLoopSubscription&) = delete;
    EventLoopSubscription& operator=(const EventLoopSubscription&) = delete;
    ~EventLoopSubscription() = default;

private:
    void post(const T& value)
    {
        QMetaObject::invokeMethod(
            &m_context, [this, value] { m_deliver(value); }, Qt::QueuedConnection);
    }

    std::function<void(const T&)> m_deliver;
    /// Takes what is still on its way with it.
    QObject m_context;
    QPropertyNotifier m_notifier;
};
