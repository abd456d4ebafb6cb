#pragma once

/// A video output that is switched on and off.
class NDISink {
public:
    NDISink() = default;
    NDISink(const NDISink&) = delete;
    NDISink& operator=(const NDISink&) = delete;
    virtual ~NDISink() = default;

    [[nodiscard]] virtual bool isRunning() const = 0;
    /// Does nothing while running. Whether it runs afterwards is for isRunning() to say.
    virtual void start() = 0;
    virtual void stop() = 0;
};
