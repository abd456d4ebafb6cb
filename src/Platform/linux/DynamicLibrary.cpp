#include "Platform/DynamicLibrary.h"

#include <QFile>

#include <dlfcn.h>

std::unique_ptr<DynamicLibrary> DynamicLibrary::open(const QString& path)
{
    void* handle = dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_LOCAL);
    if (!handle)
        return nullptr;
    return std::unique_ptr<DynamicLibrary>(new DynamicLibrary(handle));
}

DynamicLibrary::~DynamicLibrary()
{
    dlclose(m_handle);
}

void* DynamicLibrary::symbol(const char* name) const
{
    return dlsym(m_handle, name);
}
