// Feeds arbitrary bytes to the recording-file reader. Besides the sanitizers' checks, it
// holds the reader to what callers rely on: a failure always says why, and a success gives
// exactly the audio the header announced.

#include "KestoFileCmk.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
    KestoFileCmk cmk;
    QString error;
    if (!cmk.openData(bytes, error)) {
        if (error.isEmpty())
            std::abort();
        return 0;
    }
    if (!error.isEmpty() || cmk.audioData().size() != cmk.audioDataSize() || cmk.audioDataSize() > int(size) - 20)
        std::abort();

    // What opened must describe itself again in a form that reads back.
    const QString xml = cmk.toXml();
    if (xml.startsWith(QLatin1String("Error")))
        return 0; // a calibration key that is no element name: save refuses it with this message
    KestoFileCmk again;
    if (!again.fromXml(xml, error))
        std::abort();
    return 0;
}
