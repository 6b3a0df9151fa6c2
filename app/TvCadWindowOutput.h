// The editor's output turned into text for the window's command line.
#pragma once

#include <QString>

#include <cstdio>
#include <functional>
#include <memory>

class QStringDecoder;

namespace tvcad {

/// A stream for kdedSetOutputStream whose UTF-8 bytes reach a function as text, so that what
/// the editor, the commands and the modules print goes to the window as it would go to a
/// console. A character split between two writes is put together again.
class TvCadWindowOutput {
public:
    using Sink = std::function<void(const QString& text)>;

    TvCadWindowOutput();
    /// Closes the stream; it must no longer be the editor's output.
    ~TvCadWindowOutput();
    TvCadWindowOutput(const TvCadWindowOutput&) = delete;
    TvCadWindowOutput& operator=(const TvCadWindowOutput&) = delete;

    FILE* stream() const { return m_stream; }
    /// Where the text goes; text written while there is none is kept for the first sink.
    void setSink(Sink sink);

private:
    static ssize_t write(void* cookie, const char* data, size_t size);
    void receive(const char* data, size_t size);

    FILE* m_stream = nullptr;
    Sink m_sink;
    QString m_pending;
    std::unique_ptr<QStringDecoder> m_decoder;
};

} // namespace tvcad
