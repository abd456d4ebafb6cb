#pragma once

#include <QProperty>

#include <utility>

/// Calls `show` with the property's value, now and after every change for as long as the result is
/// kept. `property` must outlive the result.
template <typename T, typename Show>
[[nodiscard]] QPropertyNotifier follow(QProperty<T>& property, Show show)
{
    show(property.value());
    return property.addNotifier(
        [&property, show = std::move(show)]() mutable { show(property.value()); });
}
