// KdQtColorDialog: index colours, true colours and colour books, chosen as a KdCmColor.
#include "tv/qt/KdQtColorDialog.h"

#include "KdQtColorSwatch.h"
#include "KdQtHueSatField.h"

#include "tv/KdUiServices.h"
#include "tv/qt/KdQtIndexColorGrid.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPainter>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QTabWidget>
#include <QVBoxLayout>

namespace {

const char* const kStandardNames[] = {"red", "yellow", "green", "cyan", "blue", "magenta", "white"};

QColor qcolor(uint32_t rgb24) {
    return QColor((rgb24 >> 16) & 0xFF, (rgb24 >> 8) & 0xFF, rgb24 & 0xFF);
}

/// How a colour looks: ByLayer as the layer's colour, ByBlock black, others their RGB.
QColor shownColor(const KdCmColor& color, const KdCmColor& layerColor) {
    if (color.isByLayer())
        return layerColor.isByLayer() ? QColor(Qt::white) : qcolor(layerColor.trueColor24());
    if (color.isByBlock())
        return QColor(Qt::black);
    return qcolor(color.trueColor24());
}

/// An index colour typed in the text field: 1..255, 0 (ByBlock), 256 (ByLayer), "ByLayer",
/// "ByBlock" or "red".."white"; nothing for other text.
std::optional<KdCmColor> parseIndexText(const QString& typed) {
    const QString text = typed.trimmed().toLower();
    KdCmColor color;
    if (text == QLatin1String("bylayer")) {
        color.setColorIndex(KdCmEntityColor::kACIbyLayer);
        return color;
    }
    if (text == QLatin1String("byblock")) {
        color.setColorIndex(KdCmEntityColor::kACIbyBlock);
        return color;
    }
    bool ok = false;
    const int number = text.toInt(&ok);
    if (ok && number >= 0 && number <= 256 && color.setColorIndex(uint16_t(number)) == Kdad::eOk)
        return color;
    for (int i = 0; i < 7; ++i) {
        if (text == QLatin1String(kStandardNames[i])) {
            color.setColorIndex(uint16_t(i + 1));
            return color;
        }
    }
    return std::nullopt;
}

/// "R,G,B" with three numbers 0..255; nothing for other text.
std::optional<QColor> parseRgbText(const QString& typed) {
    static const QRegularExpression rgb(
        QStringLiteral("^\\s*(\\d{1,3})\\s*,\\s*(\\d{1,3})\\s*,\\s*(\\d{1,3})\\s*$"));
    const QRegularExpressionMatch m = rgb.match(typed);
    if (!m.hasMatch())
        return std::nullopt;
    const int r = m.captured(1).toInt();
    const int g = m.captured(2).toInt();
    const int b = m.captured(3).toInt();
    if (r > 255 || g > 255 || b > 255)
        return std::nullopt;
    return QColor(r, g, b);
}

QString indexText(const KdCmColor& color) {
    if (color.isByLayer())
        return QStringLiteral("ByLayer");
    if (color.isByBlock())
        return QStringLiteral("ByBlock");
    if (color.isByACI())
        return QString::fromStdWString(color.colorNameForDisplay());
    return QString();
}

QString rgbText(const QColor& c) {
    return QStringLiteral("%1,%2,%3").arg(c.red()).arg(c.green()).arg(c.blue());
}

QIcon swatchIcon(const QColor& color) {
    QPixmap pixmap(16, 16);
    pixmap.fill(color);
    QPainter p(&pixmap);
    p.setPen(Qt::black);
    p.drawRect(0, 0, 15, 15);
    return QIcon(pixmap);
}

QSpinBox* spin(const char* name, int maximum, const QString& suffix = QString()) {
    auto* box = new QSpinBox;
    box->setObjectName(QLatin1String(name));
    box->setRange(0, maximum);
    box->setSuffix(suffix);
    box->setAccelerated(true);
    return box;
}

} // namespace

KdQtColorDialog::KdQtColorDialog(const KdCmColor& initial, unsigned flags,
                                 const KdCmColor& layerColor, QWidget* parent)
    : CQdUiDialog(QStringLiteral("KdColorDialog"), parent), m_color(initial), m_initial(initial),
      m_layerColor(layerColor), m_flags(flags) {
    setObjectName(QStringLiteral("KdColorDialog"));
    setWindowTitle(tr("Select Color"));

    m_tabs = new QTabWidget;
    m_tabs->setObjectName(QStringLiteral("colorTabs"));
    m_tabs->addTab(makeIndexPage(), tr("Index Color"));
    m_tabs->addTab(makeTrueColorPage(), tr("True Color"));
    m_tabs->addTab(makeColorBookPage(), tr("Color Books"));
    m_tabs->setTabEnabled(1, (flags & kUiColorTrueColor) != 0);
    m_tabs->setTabEnabled(2, (flags & kUiColorBook) != 0);

    m_oldSwatch = new KdQtColorSwatch;
    m_oldSwatch->setObjectName(QStringLiteral("oldSwatch"));
    m_oldSwatch->setToolTip(tr("The color the dialog opened with"));
    m_newSwatch = new KdQtColorSwatch;
    m_newSwatch->setObjectName(QStringLiteral("newSwatch"));
    m_newSwatch->setToolTip(tr("The color chosen"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    buttons->setObjectName(QStringLiteral("buttons"));
    m_ok = buttons->button(QDialogButtonBox::Ok);
    m_ok->setObjectName(QStringLiteral("okButton"));
    buttons->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("cancelButton"));
    addHelpButton(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &KdQtColorDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &KdQtColorDialog::reject);

    auto* bottom = new QHBoxLayout;
    bottom->addWidget(new QLabel(tr("Old:")));
    bottom->addWidget(m_oldSwatch);
    bottom->addWidget(new QLabel(tr("New:")));
    bottom->addWidget(m_newSwatch);
    bottom->addStretch(1);
    bottom->addWidget(buttons);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs, 1);
    layout->addLayout(bottom);
}

KdQtColorDialog::~KdQtColorDialog() = default;

QWidget* KdQtColorDialog::makeIndexPage() {
    auto* page = new QWidget;
    page->setObjectName(QStringLiteral("indexPage"));
    m_grid = new KdQtIndexColorGrid;
    m_grid->setObjectName(QStringLiteral("indexGrid"));
    m_hoverInfo = new QLabel;
    m_hoverInfo->setObjectName(QStringLiteral("hoverInfo"));
    m_hoverInfo->setMinimumWidth(m_hoverInfo->fontMetrics().horizontalAdvance(
        QStringLiteral("Index color: 255   Red, Green, Blue: 255,255,255")));
    m_byLayer = new QPushButton(tr("By&Layer"));
    m_byLayer->setObjectName(QStringLiteral("byLayerButton"));
    m_byLayer->setEnabled((m_flags & kUiColorByLayer) != 0);
    m_byLayer->setAutoDefault(false);
    m_byBlock = new QPushButton(tr("By&Block"));
    m_byBlock->setObjectName(QStringLiteral("byBlockButton"));
    m_byBlock->setEnabled((m_flags & kUiColorByBlock) != 0);
    m_byBlock->setAutoDefault(false);
    m_byLayer->setIcon(swatchIcon(shownColor(KdCmColor(), m_layerColor)));
    m_byBlock->setIcon(swatchIcon(Qt::black));
    m_indexEdit = new QLineEdit;
    m_indexEdit->setObjectName(QStringLiteral("indexColorEdit"));
    m_indexEdit->setToolTip(tr("An index 1 to 255, ByLayer, ByBlock or a name from red to white"));
    auto* colorLabel = new QLabel(tr("&Color:"));
    colorLabel->setBuddy(m_indexEdit);

    connect(m_grid, &KdQtIndexColorGrid::indexChosen, this, [this](int index) {
        KdCmColor c;
        c.setColorIndex(uint16_t(index));
        choose(c, m_grid);
    });
    connect(m_grid, &KdQtIndexColorGrid::indexHovered, this, &KdQtColorDialog::describeHover);
    connect(m_byLayer, &QPushButton::clicked, this, [this] {
        KdCmColor c;
        c.setColorIndex(KdCmEntityColor::kACIbyLayer);
        choose(c, m_byLayer);
    });
    connect(m_byBlock, &QPushButton::clicked, this, [this] {
        KdCmColor c;
        c.setColorIndex(KdCmEntityColor::kACIbyBlock);
        choose(c, m_byBlock);
    });
    connect(m_indexEdit, &QLineEdit::textEdited, this, [this] { applyIndexText(); });
    connect(m_indexEdit, &QLineEdit::editingFinished, this, [this] {
        // Text that is no colour gives way to the colour chosen.
        if (!parseIndexText(m_indexEdit->text()))
            m_indexEdit->setText(indexText(m_color));
    });

    auto* row = new QHBoxLayout;
    row->addWidget(m_byLayer);
    row->addWidget(m_byBlock);
    row->addStretch(1);
    row->addWidget(colorLabel);
    row->addWidget(m_indexEdit);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(m_grid, 1);
    layout->addWidget(m_hoverInfo);
    layout->addLayout(row);
    return page;
}

QWidget* KdQtColorDialog::makeTrueColorPage() {
    auto* page = new QWidget;
    page->setObjectName(QStringLiteral("trueColorPage"));
    m_hueSat = new KdQtHueSatField;
    m_hueSat->setObjectName(QStringLiteral("hueSatField"));
    m_luminance = new QSlider(Qt::Vertical);
    m_luminance->setObjectName(QStringLiteral("luminanceSlider"));
    m_luminance->setRange(0, 100);
    m_luminance->setToolTip(tr("Luminance"));
    m_hue = spin("hueSpin", 359, QStringLiteral("\u00B0"));
    m_saturation = spin("saturationSpin", 100, QStringLiteral(" %"));
    m_lum = spin("luminanceSpin", 100, QStringLiteral(" %"));
    m_red = spin("redSpin", 255);
    m_green = spin("greenSpin", 255);
    m_blue = spin("blueSpin", 255);
    m_rgbEdit = new QLineEdit;
    m_rgbEdit->setObjectName(QStringLiteral("rgbEdit"));
    m_rgbEdit->setToolTip(tr("Red, green and blue from 0 to 255, separated by commas"));

    auto hslChanged = [this](QWidget* source) {
        if (m_updating)
            return;
        showTrueColor(QColor::fromHslF(m_hue->value() / 360.0, m_saturation->value() / 100.0,
                                       m_lum->value() / 100.0),
                      source);
    };
    connect(m_hueSat, &KdQtHueSatField::hueSaturationChosen, this, [this](int h, int s) {
        if (m_updating)
            return;
        m_updating = true;
        m_hue->setValue(h);
        m_saturation->setValue(qRound(s * 100.0 / 255.0));
        m_updating = false;
        showTrueColor(QColor::fromHsl(h, s, qRound(m_lum->value() * 255.0 / 100.0)), m_hueSat);
    });
    connect(m_luminance, &QSlider::valueChanged, this, [this, hslChanged](int v) {
        if (m_updating)
            return;
        m_updating = true;
        m_lum->setValue(v);
        m_updating = false;
        hslChanged(m_luminance);
    });
    for (QSpinBox* box : {m_hue, m_saturation, m_lum})
        connect(box, &QSpinBox::valueChanged, this, [hslChanged, box] { hslChanged(box); });
    for (QSpinBox* box : {m_red, m_green, m_blue}) {
        connect(box, &QSpinBox::valueChanged, this, [this, box] {
            if (!m_updating)
                showTrueColor(QColor(m_red->value(), m_green->value(), m_blue->value()), box);
        });
    }
    connect(m_rgbEdit, &QLineEdit::textEdited, this, [this] { applyRgbText(); });
    connect(m_rgbEdit, &QLineEdit::editingFinished, this, [this] {
        if (!parseRgbText(m_rgbEdit->text()))
            m_rgbEdit->setText(rgbText(qcolor(m_color.trueColor24())));
    });

    auto* numbers = new QFormLayout;
    numbers->addRow(tr("&Hue:"), m_hue);
    numbers->addRow(tr("&Saturation:"), m_saturation);
    numbers->addRow(tr("L&uminance:"), m_lum);
    numbers->addRow(tr("&Red:"), m_red);
    numbers->addRow(tr("&Green:"), m_green);
    numbers->addRow(tr("B&lue:"), m_blue);
    numbers->addRow(tr("&Color:"), m_rgbEdit);
    auto* layout = new QHBoxLayout(page);
    layout->addWidget(m_hueSat, 1);
    layout->addWidget(m_luminance);
    layout->addLayout(numbers);
    return page;
}

QWidget* KdQtColorDialog::makeColorBookPage() {
    auto* page = new QWidget;
    page->setObjectName(QStringLiteral("colorBookPage"));
    m_bookCombo = new QComboBox;
    m_bookCombo->setObjectName(QStringLiteral("bookCombo"));
    m_bookColors = new QListWidget;
    m_bookColors->setObjectName(QStringLiteral("bookColorList"));
    m_bookColors->setIconSize(QSize(24, 16));
    m_noBooks = new QLabel;
    m_noBooks->setObjectName(QStringLiteral("noBooksLabel"));
    m_noBooks->setWordWrap(true);
    m_noBooks->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* bookLabel = new QLabel(tr("Color &book:"));
    bookLabel->setBuddy(m_bookCombo);

    connect(m_bookCombo, &QComboBox::currentIndexChanged, this, [this] { fillBookColors(); });
    connect(m_bookColors, &QListWidget::currentRowChanged, this, [this](int row) {
        const int book = m_bookCombo->currentIndex();
        if (m_updating || row < 0 || book < 0 || book >= m_books.size())
            return;
        const KdQtBookColor& entry = m_books[book].colors.value(row);
        KdCmColor c;
        c.setRGB(uint8_t(qRed(entry.rgb)), uint8_t(qGreen(entry.rgb)), uint8_t(qBlue(entry.rgb)));
        c.setNames(entry.name.toStdWString().c_str(), m_books[book].name.toStdWString().c_str());
        choose(c, m_bookColors);
    });

    auto* row = new QHBoxLayout;
    row->addWidget(bookLabel);
    row->addWidget(m_bookCombo, 1);
    auto* layout = new QVBoxLayout(page);
    layout->addLayout(row);
    layout->addWidget(m_bookColors, 1);
    layout->addWidget(m_noBooks);
    return page;
}

void KdQtColorDialog::setColorBooks(const QList<KdQtColorBook>& books, const QStringList& errors) {
    m_books = books;
    m_booksSet = true;
    m_updating = true;
    m_bookCombo->clear();
    for (const KdQtColorBook& book : m_books)
        m_bookCombo->addItem(book.name);
    m_updating = false;
    QString note;
    if (m_books.isEmpty()) {
        const QString folder = kdQtColorBookFolder();
        note = tr("No color books are installed. A color book is a text file NAME.colorbook in "
                  "%1 with one color a line: red, green and blue from 0 to 255 separated by "
                  "commas, a blank and the color's name.")
                   .arg(folder.isEmpty() ? tr("the settings folder") : folder);
    }
    if (!errors.isEmpty())
        note += (note.isEmpty() ? QString() : QStringLiteral("\n")) +
                tr("Lines that were skipped:\n") + errors.join(QLatin1Char('\n'));
    m_noBooks->setText(note);
    m_noBooks->setVisible(!note.isEmpty());
    m_bookCombo->setEnabled(!m_books.isEmpty());
    m_bookColors->setVisible(!m_books.isEmpty());
    fillBookColors();
}

void KdQtColorDialog::fillBookColors() {
    const bool wasUpdating = m_updating;
    m_updating = true;
    m_bookColors->clear();
    const int book = m_bookCombo->currentIndex();
    if (book >= 0 && book < m_books.size()) {
        for (const KdQtBookColor& entry : m_books[book].colors) {
            auto* item = new QListWidgetItem(swatchIcon(QColor(entry.rgb)), entry.name);
            item->setToolTip(rgbText(QColor(entry.rgb)));
            m_bookColors->addItem(item);
        }
    }
    m_updating = wasUpdating;
    if (!wasUpdating)
        showColor(nullptr);
}

void KdQtColorDialog::onInitDialog() {
    if (!m_booksSet) {
        QStringList errors;
        const QList<KdQtColorBook> books = kdQtLoadColorBooks(kdQtColorBookFolder(), &errors);
        setColorBooks(books, errors);
    }
    m_oldSwatch->setColor(shownColor(m_initial, m_layerColor));
    setColor(m_color);
    CQdUiDialog::onInitDialog();
    // The keyboard starts where the colour is chosen on the page shown, not on the tabs.
    QWidget* first = m_tabs->currentIndex() == 2   ? static_cast<QWidget*>(m_bookColors)
                     : m_tabs->currentIndex() == 1 ? static_cast<QWidget*>(m_rgbEdit)
                                                   : static_cast<QWidget*>(m_grid);
    first->setFocus(Qt::OtherFocusReason);
}

void KdQtColorDialog::setColor(const KdCmColor& color) {
    m_color = color;
    // Open the page the colour belongs to.
    if (color.isColorBookColor() && m_tabs->isTabEnabled(2))
        m_tabs->setCurrentIndex(2);
    else if (color.isByColor() && m_tabs->isTabEnabled(1))
        m_tabs->setCurrentIndex(1);
    else
        m_tabs->setCurrentIndex(0);
    showColor(nullptr);
}

void KdQtColorDialog::choose(const KdCmColor& color, QWidget* source) {
    m_color = color;
    showColor(source);
}

void KdQtColorDialog::showTrueColor(const QColor& rgb, QWidget* source) {
    KdCmColor c;
    c.setRGB(uint8_t(rgb.red()), uint8_t(rgb.green()), uint8_t(rgb.blue()));
    choose(c, source);
}

void KdQtColorDialog::showColor(QWidget* source) {
    if (m_updating)
        return;
    m_updating = true;
    m_grid->setSelectedIndex(m_color.isByACI() ? m_color.colorIndex() : 0);
    if (source != m_indexEdit)
        m_indexEdit->setText(indexText(m_color));
    describeHover(m_color.isByACI() ? m_color.colorIndex() : 0);

    // The true-colour page shows what every colour looks like, so that one can start there.
    const QColor rgb = shownColor(m_color, m_layerColor);
    if (source != m_hue && source != m_saturation && source != m_lum && source != m_hueSat &&
        source != m_luminance) {
        m_hue->setValue(std::max(0, rgb.hslHue()));
        m_saturation->setValue(qRound(rgb.hslSaturationF() * 100));
        m_lum->setValue(qRound(rgb.lightnessF() * 100));
    }
    if (source != m_hueSat)
        m_hueSat->setHueSaturation(m_hue->value(), qRound(m_saturation->value() * 255.0 / 100.0));
    if (source != m_luminance)
        m_luminance->setValue(m_lum->value());
    if (source != m_red && source != m_green && source != m_blue) {
        m_red->setValue(rgb.red());
        m_green->setValue(rgb.green());
        m_blue->setValue(rgb.blue());
    }
    if (source != m_rgbEdit)
        m_rgbEdit->setText(rgbText(rgb));

    if (source != m_bookColors) {
        int bookRow = -1;
        int colorRow = -1;
        if (m_color.isColorBookColor()) {
            const QString book = QString::fromWCharArray(m_color.bookName());
            const QString name = QString::fromWCharArray(m_color.colorName());
            for (int b = 0; b < m_books.size() && bookRow < 0; ++b) {
                if (m_books[b].name.compare(book, Qt::CaseInsensitive) != 0)
                    continue;
                for (int c = 0; c < m_books[b].colors.size(); ++c) {
                    if (m_books[b].colors[c].name.compare(name, Qt::CaseInsensitive) == 0) {
                        bookRow = b;
                        colorRow = c;
                        break;
                    }
                }
            }
        }
        if (bookRow >= 0 && m_bookCombo->currentIndex() != bookRow) {
            const QSignalBlocker quiet(m_bookCombo);
            m_bookCombo->setCurrentIndex(bookRow);
            fillBookColors();
        }
        m_bookColors->setCurrentRow(colorRow);
    }

    m_newSwatch->setColor(rgb);
    m_newSwatch->setToolTip(QString::fromStdWString(m_color.getDescription()));
    m_ok->setEnabled(kdUiColorAllowed(m_color, m_flags));
    m_updating = false;
}

void KdQtColorDialog::applyIndexText() {
    const std::optional<KdCmColor> typed = parseIndexText(m_indexEdit->text());
    if (!typed)
        return;
    // ByLayer and ByBlock typed where they may not be chosen are left to OK to refuse.
    choose(*typed, m_indexEdit);
}

void KdQtColorDialog::applyRgbText() {
    if (const std::optional<QColor> typed = parseRgbText(m_rgbEdit->text()))
        showTrueColor(*typed, m_rgbEdit);
}

void KdQtColorDialog::describeHover(int index) {
    if (index < 1 || index > 255) {
        m_hoverInfo->setText(QString::fromStdWString(m_color.getDescription()));
        return;
    }
    const QColor c = qcolor(kdedGetRGB(index));
    m_hoverInfo->setText(tr("Index color: %1   Red, Green, Blue: %2").arg(index).arg(rgbText(c)));
}

bool KdQtColorDialog::updateData(bool saveAndValidate) {
    if (!saveAndValidate)
        return true;
    return kdUiColorAllowed(m_color, m_flags);
}
