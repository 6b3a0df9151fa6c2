// The Host's full colour dialog: index colours, true colours and colour books.
#pragma once

#include "tv/KdCmColor.h"
#include "tv/qt/CQdUiDialog.h"
#include "tv/qt/KdQtColorBooks.h"

class KdQtColorSwatch;
class KdQtHueSatField;
class KdQtIndexColorGrid;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QSlider;
class QSpinBox;
class QTabWidget;

/// Three pages: "Index Color" (the 255-colour grid, ByLayer and ByBlock, a text field for an
/// index or a name), "True Color" (hue and saturation field, luminance, HSL and RGB numbers, a
/// text field "R,G,B") and "Color Books" (the user's books, kdQtColorBookFolder(); the page
/// says so when there are none). `flags` (KdUiColorFlags) say which kinds of colour may be
/// chosen: the others' buttons and pages are disabled and OK refuses them. The colour shown
/// on opening is selected on its page; `layerColor` is what ByLayer stands for in the swatch.
/// The dialog is registered as "KdColorDialog".
class TVHOSTUI_API KdQtColorDialog : public CQdUiDialog {
    Q_OBJECT
public:
    KdQtColorDialog(const KdCmColor& initial, unsigned flags, const KdCmColor& layerColor,
                    QWidget* parent = nullptr);
    ~KdQtColorDialog() override;

    /// The colour chosen so far (the result after OK).
    const KdCmColor& color() const { return m_color; }
    /// Selects a colour as if the user had chosen it (and shows its page).
    void setColor(const KdCmColor& color);
    /// Replaces the books offered (normally read from the user's folder on opening).
    void setColorBooks(const QList<KdQtColorBook>& books, const QStringList& errors = {});

    bool updateData(bool saveAndValidate = true) override;

protected:
    void onInitDialog() override;

private:
    QWidget* makeIndexPage();
    QWidget* makeTrueColorPage();
    QWidget* makeColorBookPage();
    void choose(const KdCmColor& color, QWidget* source);
    void showColor(QWidget* source);
    void showTrueColor(const QColor& rgb, QWidget* source);
    void applyIndexText();
    void applyRgbText();
    void fillBookColors();
    void describeHover(int index);

    KdCmColor m_color;
    KdCmColor m_initial;
    KdCmColor m_layerColor;
    unsigned m_flags = 0;
    QList<KdQtColorBook> m_books;
    bool m_booksSet = false;
    bool m_updating = false;

    QTabWidget* m_tabs = nullptr;
    KdQtIndexColorGrid* m_grid = nullptr;
    QLabel* m_hoverInfo = nullptr;
    QPushButton* m_byLayer = nullptr;
    QPushButton* m_byBlock = nullptr;
    QLineEdit* m_indexEdit = nullptr;
    KdQtHueSatField* m_hueSat = nullptr;
    QSlider* m_luminance = nullptr;
    QSpinBox* m_hue = nullptr;
    QSpinBox* m_saturation = nullptr;
    QSpinBox* m_lum = nullptr;
    QSpinBox* m_red = nullptr;
    QSpinBox* m_green = nullptr;
    QSpinBox* m_blue = nullptr;
    QLineEdit* m_rgbEdit = nullptr;
    QComboBox* m_bookCombo = nullptr;
    QListWidget* m_bookColors = nullptr;
    QLabel* m_noBooks = nullptr;
    KdQtColorSwatch* m_oldSwatch = nullptr;
    KdQtColorSwatch* m_newSwatch = nullptr;
    QPushButton* m_ok = nullptr;
};
