// A host's own cards and rows: subclasses naming layouts of their own (layouts/), made
// with VTAViews::create() and told through their hooks what the viewer did.

#include "viewtest.h"

namespace {

std::string hooks; // what the host's classes were told, in order

class HostTriviaView : public VTATriviaView
{
    Q_OBJECT
    Q_CLASSINFO("VantoraLayout", "qrc:/host/HostTriviaView.qml")
    void didLoadTrivia() override { hooks += "load "; }
};

class HostPollAnswerView : public VTAPollAnswerView
{
    Q_OBJECT
    Q_CLASSINFO("VantoraLayout", "qrc:/host/HostPollAnswerView.qml")
    void setButtonStyleCompleted(bool selected) override { hooks += selected ? "1 " : "0 "; }
};

class HostPollView : public VTAPollView
{
    Q_OBJECT
    Q_CLASSINFO("VantoraLayout", "qrc:/host/HostPollView.qml")
    VTAPollAnswerView *createAnswerView() override
    {
        return VTAViews::create<HostPollAnswerView>();
    }
};

class HostRatingAnswerView : public VTARatingAnswerView
{
    Q_OBJECT
    Q_CLASSINFO("VantoraLayout", "qrc:/host/HostRatingAnswerView.qml")
    void setButtonStyleCompleted(bool selected) override { hooks += selected ? "1 " : "0 "; }
};

class HostRatingView : public VTARatingView
{
    Q_OBJECT
    Q_CLASSINFO("VantoraLayout", "qrc:/host/HostRatingView.qml")
    VTARatingAnswerView *createAnswerView() override
    {
        return VTAViews::create<HostRatingAnswerView>();
    }
    void didLoadRating() override { hooks += "load "; }
    void didAnswerRating() override { hooks += "answer "; }
};

// The module the layouts import, as a host registers it before it shows a card.
[[maybe_unused]] const bool registered = [] {
    qmlRegisterType<HostTriviaView>("HostCards", 1, 0, "HostTriviaViewBase");
    qmlRegisterType<HostPollView>("HostCards", 1, 0, "HostPollViewBase");
    qmlRegisterType<HostPollAnswerView>("HostCards", 1, 0, "HostPollAnswerViewBase");
    qmlRegisterType<HostRatingView>("HostCards", 1, 0, "HostRatingViewBase");
    qmlRegisterType<HostRatingAnswerView>("HostCards", 1, 0, "HostRatingAnswerViewBase");
    return true;
}();

} // namespace

// Each card of a host's own works in its layout, its hooks told what the viewer did: a trivia card
// loads; each poll row learns whether it holds the viewer's answer when the poll opens answered or
// closed, and again when the viewer votes; rating N marks every step from 1 up to and including
// N, and a card rated before it opened marks none.
TEST_F(CardTest, aHostsCardsWorkInTheirOwnLayouts)
{
    overlay.token.reset();
    auto *trivia = show<HostTriviaView>(olympics(), 30, viewer, std::nullopt);
    trivia->showResult(verdict(u"Athens"_s), std::nullopt);
    EXPECT_EQ(trivia->width(), 1400);
    EXPECT_EQ(text(trivia->resultLabel()) + ", " + std::exchange(hooks, {}),
              "Correct answer, load ");
    for (const QStringList &row : cases(u"host polls")) {
        const QString previous = unquoted(row[0]);
        show<HostPollView>(matchPoll(qPrintable(row[1])),
                           previous.isEmpty() ? std::nullopt : std::optional(previous), 20, viewer,
                           std::nullopt);
        EXPECT_EQ(std::exchange(hooks, {}), unquoted(row[2]).toStdString()) << rest(row, 0);
    }
    EXPECT_EQ(views.back()->width(), 1400);
    press({Qt::Key_Down, Qt::Key_Down, Qt::Key_Select});
    EXPECT_EQ(std::exchange(hooks, {}), "0 0 1 ");
    auto *card = show<HostRatingView>(halfTime("4"), std::nullopt, 30, viewer, std::nullopt);
    card->actionAnswer(card->answerViews()[1]->button());
    EXPECT_EQ(card->width(), 1000);
    EXPECT_EQ(screen(card->resultContainer()), "0.0 |  of  | 4");
    show<HostRatingView>(halfTime("4"), u"3"_s, 30, viewer, std::nullopt);
    EXPECT_EQ(hooks, "load 1 1 0 0 answer load ");
}

#include "tst_hosts.moc"
