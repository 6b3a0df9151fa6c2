// The parsed form of a layer filter expression and its test against a layer record.
#pragma once

#include <memory>
#include <string>
#include <vector>

class KdDbLayerTableRecord;

/// A filter expression parsed into OR of AND terms. Parsing never throws: a syntax error
/// gives null and a message naming the character (from 1) where it was found.
class KdLyFilterExpression {
public:
    enum class Field {
        kName,
        kLinetype,
        kPlotStyleName,
        kDescription,
        kUsed,
        kOff,
        kOn,
        kFrozen,
        kLocked,
        kPlottable,
        kNewVpFrozen,
        kVpFrozen,
        kColor,
        kLineweight,
        kTransparency,
    };

    struct Node {
        enum class Op { kClause, kAnd, kOr };
        Op op = Op::kClause;
        // A clause: field and value, with the value's pre-digested forms.
        Field field = Field::kName;
        std::wstring value;
        bool boolValue = false;
        bool anyValue = false; // the value "*": every layer
        int number = 0;        // lineweight in hundredths of mm, transparency percent
        std::vector<std::unique_ptr<Node>> children;
    };

    /// Null and `error` set when the text is not an expression; the empty text gives an
    /// expression that admits every layer.
    static std::unique_ptr<KdLyFilterExpression> parse(const std::wstring& text,
                                                       std::wstring& error);

    bool admits(const KdDbLayerTableRecord& layer) const;

private:
    std::unique_ptr<Node> m_root; // null for the empty expression
};
