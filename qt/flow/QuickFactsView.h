#pragma once

#include <QLabel>
#include <QPointer>
#include <QString>
#include <QWidget>

namespace vorna {

// The host's quick facts on the inspect screen: the title "Quick Facts" and, 20 points under
// it, the facts as the host wrote them, on as many lines as they need.
class QuickFactsView : public QWidget {
    Q_OBJECT

public:
    static constexpr int kTitleToFacts = 20;

    explicit QuickFactsView(const QString& quickFacts, QWidget* parent = nullptr);
    ~QuickFactsView() override;

    const QString& quickFacts() const { return quickFacts_; }
    QLabel* titleLabel() const { return titleLabel_; }
    QLabel* factsLabel() const { return factsLabel_; }

private:
    QString quickFacts_;
    QPointer<QLabel> titleLabel_;
    QPointer<QLabel> factsLabel_;
};

}  // namespace vorna
