#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

/// A library that is looked for at run time and may be missing. It is unloaded with the object.
class DynamicLibrary {
public:
    /// Opens a library with all its symbols bound at once, visible to nobody else; null when it
    /// cannot be opened. A `path` without a slash is looked up where the system keeps libraries.
    [[nodiscard]] static std::unique_ptr<DynamicLibrary> open(const QString& path);

    DynamicLibrary(const DynamicLibrary&) = delete;
    DynamicLibrary& operator=(const DynamicLibrary&) = delete;
    ~DynamicLibrary();

    /// The function of this name and type, null when there is none.
    template <typename Function> [[nodiscard]] Function* function(const char* name) const
    {
        return reinterpret_cast<Function*>(symbol(name));
    }

private:
    explicit DynamicLibrary(void* handle)
        : m_handle(handle)
    {
    }
    [[nodiscard]] void* symbol(const char* name) const;

    void* m_handle;
};
