#include "qt/flow/QuickFactsView.h"

#include <QLabel>

#include "platform/VRNLocalizedString.h"
#include "qt/flow/VRNColumnLayout.h"
#include "qt/flow/VRNFlowFonts.h"
#include "qt/theme/VRNQtColor.h"
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
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, VRNQtColor::toQColor(color));
    label->setPalette(palette);
    return label;
}

}  // namespace

QuickFactsView::QuickFactsView(const QString& quickFacts, QWidget* parent)
    : QWidget(parent), quickFacts_(quickFacts) {
    titleLabel_ = makeLabel(QString::fromStdString(VRNLocalizedString("Quick Facts")),
                            VRNFlowFonts::bold(20), Colors::black(), this);
    factsLabel_ = makeLabel(quickFacts_, VRNFlowFonts::regular(16), Colors::gunmetalColor(), this);
    auto* layout = new VRNColumnLayout(this);
    layout->addWidget(titleLabel_, kPartsWidth);
    layout->addWidget(factsLabel_, kPartsWidth, kTitleToFacts);
}

QuickFactsView::~QuickFactsView() = default;

}  // namespace vorna
