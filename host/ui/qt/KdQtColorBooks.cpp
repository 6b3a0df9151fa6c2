// Colour books read from the user's folder: "NAME.colorbook", one "R,G,B name" a line.
#include "tv/qt/KdQtColorBooks.h"

#include "tv/KdRegistry.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

QString kdQtColorBookFolder() {
    const QString settings = QString::fromStdString(tvSettingsFile());
    if (settings.isEmpty())
        return QString();
    return QFileInfo(settings).absolutePath() + QStringLiteral("/colorbooks");
}

KdQtColorBook kdQtParseColorBook(const QString& bookName, const QString& text,
                                 QStringList* errors) {
    static const QRegularExpression line(
        QStringLiteral("^\\s*(\\d{1,3})\\s*,\\s*(\\d{1,3})\\s*,\\s*(\\d{1,3})\\s+(.*\\S)\\s*$"));
    KdQtColorBook book;
    book.name = bookName;
    QSet<QString> seen;
    const QStringList lines = text.split(QLatin1Char('\n'));
    auto report = [&](int number, const QString& what) {
        if (errors)
            errors->append(QStringLiteral("%1:%2: %3").arg(bookName).arg(number).arg(what));
    };
    for (int i = 0; i < lines.size(); ++i) {
        const QString raw = lines[i].trimmed();
        if (raw.isEmpty() || raw.startsWith(QLatin1Char('#')))
            continue;
        const QRegularExpressionMatch m = line.match(raw);
        if (!m.hasMatch()) {
            report(i + 1, QStringLiteral("\"%1\" is not \"R,G,B name\"").arg(raw));
            continue;
        }
        int rgb[3] = {};
        bool inRange = true;
        for (int k = 0; k < 3; ++k) {
            rgb[k] = m.captured(k + 1).toInt();
            inRange = inRange && rgb[k] <= 255;
        }
        const QString name = m.captured(4);
        if (!inRange) {
            report(i + 1, QStringLiteral("\"%1\": red, green and blue go from 0 to 255").arg(raw));
        } else if (name.contains(QLatin1Char('$'))) {
            report(i + 1, QStringLiteral("\"%1\": a colour name cannot hold '$'").arg(name));
        } else if (seen.contains(name.toCaseFolded())) {
            report(i + 1, QStringLiteral("\"%1\" is in the book already").arg(name));
        } else {
            seen.insert(name.toCaseFolded());
            book.colors.append({name, qRgb(rgb[0], rgb[1], rgb[2])});
        }
    }
    return book;
}

QList<KdQtColorBook> kdQtLoadColorBooks(const QString& folder, QStringList* errors) {
    QList<KdQtColorBook> books;
    if (folder.isEmpty())
        return books;
    const QDir dir(folder);
    const QFileInfoList files =
        dir.entryInfoList({QStringLiteral("*.colorbook")}, QDir::Files | QDir::Readable,
                          QDir::Name | QDir::IgnoreCase);
    for (const QFileInfo& info : files) {
        const QString name = info.completeBaseName();
        if (name.contains(QLatin1Char('$'))) {
            if (errors)
                errors->append(
                    QStringLiteral("%1: a book name cannot hold '$'").arg(info.fileName()));
            continue;
        }
        QFile file(info.absoluteFilePath());
        if (!file.open(QIODevice::ReadOnly)) {
            if (errors)
                errors->append(QStringLiteral("%1: %2").arg(info.fileName(), file.errorString()));
            continue;
        }
        KdQtColorBook book = kdQtParseColorBook(name, QString::fromUtf8(file.readAll()), errors);
        if (!book.colors.isEmpty())
            books.append(std::move(book));
    }
    return books;
}
