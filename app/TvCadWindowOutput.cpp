// TvCadWindowOutput: a stdio stream (fopencookie) that decodes UTF-8 into the window.
#include "TvCadWindowOutput.h"

#include <QStringDecoder>

namespace tvcad {

TvCadWindowOutput::TvCadWindowOutput()
    : m_decoder(std::make_unique<QStringDecoder>(QStringDecoder::Utf8)) {
    cookie_io_functions_t functions{};
    functions.write = &TvCadWindowOutput::write;
    m_stream = fopencookie(this, "w", functions);
    if (m_stream)
        std::setvbuf(m_stream, nullptr, _IONBF, 0); // the window shows each write at once
}

TvCadWindowOutput::~TvCadWindowOutput() {
    if (m_stream)
        std::fclose(m_stream);
}

void TvCadWindowOutput::setSink(Sink sink) {
    m_sink = std::move(sink);
    if (m_sink && !m_pending.isEmpty()) {
        const QString kept = std::move(m_pending);
        m_pending.clear();
        m_sink(kept);
    }
}

ssize_t TvCadWindowOutput::write(void* cookie, const char* data, size_t size) {
    static_cast<TvCadWindowOutput*>(cookie)->receive(data, size);
    return static_cast<ssize_t>(size);
}

void TvCadWindowOutput::receive(const char* data, size_t size) {
    const QString text = m_decoder->decode(QByteArrayView(data, qsizetype(size)));
    if (text.isEmpty())
        return;
    if (m_sink)
        m_sink(text);
    else
        m_pending += text;
}

} // namespace tvcad
