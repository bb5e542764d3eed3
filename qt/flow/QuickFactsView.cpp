#include "qt/flow/QuickFactsView.h"

#include <QLabel>

#include "qt/flow/VRNColumnLayout.h"
#include "qt/flow/VRNScreenStyle.h"
#include "theme/Colors.h"

namespace vorna {
namespace {

constexpr double kPartsWidth = 0.8;

QLabel* makeLabel(const QString& text, const QFont& font, const VRNColor& color, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setFont(font);
    label->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    label->setWordWrap(true);
    // The host's facts are shown as written, never as markup.
    label->setTextFormat(Qt::PlainText);
    VRNScreenStyle::setTextColor(label, VRNScreenStyle::color(color));
    return label;
}

}  // namespace

QuickFactsView::QuickFactsView(const QString& quickFacts, QWidget* parent)
    : QWidget(parent), quickFacts_(quickFacts) {
    titleLabel_ = makeLabel(VRNScreenStyle::localized("Quick Facts"), VRNScreenStyle::boldFont(20),
                            Colors::black(), this);
    factsLabel_ =
        makeLabel(quickFacts_, VRNScreenStyle::regularFont(16), Colors::gunmetalColor(), this);
    auto* layout = new VRNColumnLayout(this);
    layout->addWidget(titleLabel_, kPartsWidth);
    layout->addWidget(factsLabel_, kPartsWidth, kTitleToFacts);
}

QuickFactsView::~QuickFactsView() = default;

}  // namespace vorna
