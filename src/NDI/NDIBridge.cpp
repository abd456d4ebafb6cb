#include "NDI/NDIBridge.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

NDIBridge::NDIBridge()
    : m_library(openRuntime())
{
    if (!m_library)
        return;
    if (auto* load = m_library->function<NDI::Entry>(NDI::entryName))
        m_ndi = load();
    if (m_ndi && m_ndi->initialize)
        m_ndi->initialize();
}

NDIBridge::~NDIBridge()
{
    stop();
    if (m_ndi && m_ndi->destroy)
        m_ndi->destroy();
}

bool NDIBridge::startWithName(const QString& name)
{
    if (!m_ndi)
        return false;
    if (m_sender)
        return true;
    if (!m_ndi->sendCreate)
        return false;
    const QByteArray utf8 = name.toUtf8();
    const NDI::SendSettings settings {.name = utf8.constData()};
    m_sender = m_ndi->sendCreate(&settings);
    return m_sender != nullptr;
}

void NDIBridge::stop()
{
    if (!m_ndi || !m_sender)
        return;
    if (m_ndi->sendDestroy)
        m_ndi->sendDestroy(m_sender);
    m_sender = nullptr;
}

void NDIBridge::sendBGRA(const uchar* data, qint32 width, qint32 height, qint32 fps)
{
    if (!m_ndi || !data || !m_sender || !m_ndi->sendVideo)
        return;
    const NDI::VideoFrame frame {
        .width = width,
        .height = height,
        .frameRateNumerator = fps * 1000,
        .pictureAspectRatio =
            height == 0 ? 0 : static_cast<float>(width) / static_cast<float>(height),
        .data = data,
        .lineStrideInBytes = width * 4,
    };
    m_ndi->sendVideo(m_sender, &frame);
}

QStringList NDIBridge::runtimeCandidates()
{
    QStringList folders;
    for (const char* variable : {"NDI_RUNTIME_DIR_V6", "NDI_RUNTIME_DIR_V5"}) {
        if (qEnvironmentVariableIsSet(variable))
            folders += qEnvironmentVariable(variable) + u'/';
    }
    // The program's own private libraries.
    folders += QCoreApplication::applicationDirPath() + u"/../lib/tarrow/"_s;
    folders += u"/usr/local/lib/"_s;
    folders += u"/usr/lib/"_s;
    folders += QString();

    QStringList candidates;
    for (const QString& folder : folders) {
        for (const QString& name : {u"libndi.so.6"_s, u"libndi.so.5"_s, u"libndi.so"_s})
            candidates += folder + name;
    }
    return candidates;
}

std::unique_ptr<DynamicLibrary> NDIBridge::openRuntime()
{
    for (const QString& path : runtimeCandidates()) {
        if (auto library = DynamicLibrary::open(path))
            return library;
    }
    return nullptr;
}
