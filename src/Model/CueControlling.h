#pragma once

#include <QObject>

/// The little that remote commands may do with the running order. An object, so that those who
/// hold one can see it go.
class CueControlling : public QObject {
public:
    /// Makes the cue at the 0-based position current and starts it.
    virtual void load(qint64 index) = 0;
    virtual void next() = 0;
    virtual void previous() = 0;
};
