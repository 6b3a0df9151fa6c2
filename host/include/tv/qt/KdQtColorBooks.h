// Colour books: named collections of named true colours that the user keeps as text files.
#pragma once

#include "tv/qt/KdQtExport.h"

#include <QList>
#include <QRgb>
#include <QString>
#include <QStringList>

struct KdQtBookColor {
    QString name;
    QRgb rgb = 0;
};

struct KdQtColorBook {
    QString name;
    QList<KdQtBookColor> colors;
};

/// The folder of the user's colour books: "colorbooks" beside the Host's settings file.
TVHOSTUI_API QString kdQtColorBookFolder();

/// Reads one book. The text (UTF-8) has one colour a line, "R,G,B name" with R, G and B from 0
/// to 255 and a name that is not empty; blank lines and lines starting with '#' are skipped.
/// A line that is not a colour, a name holding '$' (which separates book and colour in the
/// drawing) and a name given twice (case ignored) are reported in `errors` as "BOOK:LINE:
/// what is wrong" and skipped; the rest of the book is kept.
TVHOSTUI_API KdQtColorBook kdQtParseColorBook(const QString& bookName, const QString& text,
                                              QStringList* errors = nullptr);
/// Every book of `folder`: the files "NAME.colorbook", NAME being the book's name, sorted by
/// name. Files that cannot be read and books whose name holds '$' are reported in `errors`.
TVHOSTUI_API QList<KdQtColorBook> kdQtLoadColorBooks(const QString& folder,
                                                     QStringList* errors = nullptr);
