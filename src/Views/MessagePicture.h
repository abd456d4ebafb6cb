#pragma once

#include "Views/MessageTransition.h"

#include <QPainter>
#include <QRectF>

/// Draws a message into its box with the painter's pen, from a picture of it that is kept from one
/// frame to the next: while it moves, and each second under a running time, all its letters would
/// be filled again for every display. Pictures are shared by all boxes of one size.
///
/// The message is as large as fits, between 0.05 of `largestSize` and all of it; both are in the
/// painter's units. It stands on whole pixels of the device.
void paintMessage(
    QPainter& painter, const QRectF& box, double largestSize, const MessageLayer& message);

/// Gives back the memory of the pictures of all messages but those that are on screen.
void forgetMessagesBut(const QList<MessageLayer>& shown);

/// How often a message has been fitted to its box since the start: for those who check that it
/// does not happen with every frame.
[[nodiscard]] int messageFitCount();
