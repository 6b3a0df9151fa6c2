// The string table of the layer manager's resource library: every text the module loads by id.
#include <algorithm>
#include <iterator>

namespace {

struct StringEntry {
    unsigned id;
    const wchar_t* text;
};

// Sorted by id; the lookup below relies on it, and the check after the table enforces it.
constexpr StringEntry kStrings[] = {
    {29, L"The layer cannot be deleted."},
    {65, L"Layer"},
    {69, L"The selected layer cannot be made current. A frozen layer or a layer of an external "
         L"reference cannot be the current layer."},
    {1196, L"\nInvalid option keyword."},
    {1197, L"Expects a point or Settings"},
    {1198, L"\nIn paper space viewport use [Freeze/Vpfreeze] <%s>:"},
    {1199, L"Freeze Vpfreeze _ Freeze Vpfreeze"},
    {1201, L"\nEnter setting type for [Viewports/Block selection]: "},
    {1202, L"Viewports Block _ Viewports Block"},
    {1204, L"\nEnter Block Selection nesting level [Block/Entity/No nesting] <No nesting>: "},
    {1205, L"\nLayer %s is the current layer and cannot be frozen."},
    {1206, L"\nLayer %s has been frozen."},
    {1207, L"\nLayer %s has been frozen in the current viewport."},
    {1208, L"\nEnter Block Selection nesting level [Block/Entity/No nesting] <Block>: "},
    {1209, L"\nEnter Block Selection nesting level [Block/Entity/No nesting] <Entity>: "},
    {1210, L"Block Entity No _ Block Entity No"},
    {1657, L"Layer States (*.las)|*.las||"},
    {1850, L"Properties Filter%d"},
    {1851, L"Group Filter%d"},
    {1852, L"Current layer: %s"},
    {1853, L"%s: %d layers shown of %d total layers"},
    {1854, L"The name is not valid. A name cannot be empty, start with a space, or contain any of "
           L"these characters: , < > / \\ \" : ; ? * | = `"},
    {1855, L"Layer%d"},
    {1856, L"Status"},
    {1857, L"Name"},
    {1858, L"On"},
    {1859, L"Freeze"},
    {1860, L"Lock"},
    {1861, L"Color"},
    {1862, L"Linetype"},
    {1863, L"Plot Style"},
    {1864, L"Plot"},
    {1865, L"New VP Freeze"},
    {1866, L"VP Freeze"},
    {1867, L"Description"},
    {1870, L"Lineweight"},
    {1874, L"Layer changes are applied to the drawing at once. Cancel undoes them."},
    {1875, L"New Property Filter"},
    {1876, L"New Group Filter"},
    {1877, L"Layer States Manager"},
    {1878, L"New Layer"},
    {1879, L"Delete Layer"},
    {1880, L"Set Current"},
    {1886, L"Do not show this message again?"},
    {1889, L"Search for layer"},
    {1890, L"Freeze"},
    {1891, L"Vpfreeze"},
    {1892, L"All"},
    {1893, L"All Used Layers"},
    {1894, L"A filter of this name already exists."},
    {1895, L"Default"},
    {1896, L"Select exactly one layer to rename."},
    {1897, L"The layer could not be renamed."},
    {1898, L"A filter named \"%s\" already exists. Enter another name."},
    {3101, L"Drawing (*.dwg)|*.dwg|Drawing Exchange Format (*.dxf)|*.dxf||"},
    {3104, L"The file is not a valid layer state file."},
    {3107, L"Import Layer State"},
    {3108, L"Export Layer State"},
    {3109, L"Select Layers to Add to the Layer State"},
    {3112, L"A linetype used by the layer state is not defined in this drawing; the layer gets "
           L"the linetype Continuous."},
    {3114, L"The layer state %s was imported. Do you want to restore it now?"},
    {3115, L"Name"},
    {3116, L"Space"},
    {3117, L"Description"},
    {3120, L"A layer state named %s already exists. Do you want to replace it?"},
    {3121, L"Delete the selected layer state?"},
    {3126, L" is not a valid layer state name."},
    {3128, L"The name "},
    {3129, L" contains a character that is not allowed:  < , > / ? ' \" \\ | ; : = *"},
    {3131, L"Same"},
    {3132, L"The layer state will be overwritten with the current layer settings. Continue?"},
    {3139, L"The selected drawing has no layer states."},
    {3145, L"Current layer state: %s"},
    {3156, L"Remove layers from the layer state"},
    {3157, L"Add layers to the layer state"},
    {3158, L"Color_%d"},
    {3159, L"Edit Layer State"},
    {3163, L"*UNSAVED*"},
    {3273, L"A layer name cannot be empty."},
    {6120, L"LAYERSTATE"},
    {6121, L"LAYERSTATESAVE"},
    {6122, L"LAYFRZ"},
    {6123, L"LAYER"},
    {6124, L"Settings Undo eXit _ Settings Undo eXit"},
    {6125, L"\nSelect an object on the layer to be frozen or [Settings/Undo/eXit]: "},
    {6126, L"\nEverything has been undone."},
    {6127, L"-LAYERSTATE"},
};

constexpr bool isStrictlySorted() {
    for (std::size_t i = 1; i < std::size(kStrings); ++i) {
        if (kStrings[i - 1].id >= kStrings[i].id)
            return false;
    }
    return true;
}
static_assert(isStrictlySorted(), "string ids must be unique and in ascending order");

} // namespace

// Answers the text of string `id`, or null when the table has no such string.
extern "C" __attribute__((visibility("default"))) const wchar_t* tvResourceString(unsigned id) {
    const auto* end = std::end(kStrings);
    const auto* it =
        std::lower_bound(std::begin(kStrings), end, id,
                         [](const StringEntry& e, unsigned key) { return e.id < key; });
    return it != end && it->id == id ? it->text : nullptr;
}
