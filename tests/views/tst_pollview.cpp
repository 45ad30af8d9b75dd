#include "viewtest.h"

#include "../service/servicetest.h"
#include "vantora/toolkit/focustvbutton_p.h"
#include <vantora/views/poll/vtapollview.h>

#include <QQmlEngine>
#include <QTest>

using namespace Vantora;
using namespace std::chrono_literals;
using State = InteractionState;

namespace {

// A host's poll row that notes how the card styles it.
class HostPollAnswerView : public VTAPollAnswerView
{
    Q_OBJECT
    Q_CLASSINFO("VantoraLayout", "qrc:/host/HostPollAnswerView.qml")

public:
    QList<bool> completedStyles;
    void setButtonStyleCompleted(bool selected) override { completedStyles.append(selected); }
};

// A host's poll card with its own layout and rows.
class HostPollView : public VTAPollView
{
    Q_OBJECT
    Q_CLASSINFO("VantoraLayout", "qrc:/host/HostPollView.qml")

public:
    VTAPollAnswerView *createAnswerView() override
    {
        return VTAViews::create<HostPollAnswerView>();
    }
};

Poll matchPoll(const char *status = "active", const char *questionType = "poll",
               const char *viewType = "percentage", QList<qint64> votes = {2, 1, 1})
{
    Poll poll;
    poll.id = QStringLiteral("p1");
    poll.question = QStringLiteral("Who scores next?");
    poll.questionType = QString::fromLatin1(questionType);
    poll.viewType = QString::fromLatin1(viewType);
    poll.status = QString::fromLatin1(status);
    const char *texts[] = {"Home", "Away", "Nobody"};
    for (qsizetype i = 0; i < votes.size(); ++i)
        poll.answers.append({QString::fromLatin1(texts[i]), {}, {}, false, {}, votes[i]});
    return poll;
}

class PollTest : public CardTest
{
protected:
    static void SetUpTestSuite()
    {
        qmlRegisterType<HostPollView>("HostCards", 1, 0, "HostPollViewBase");
        qmlRegisterType<HostPollAnswerView>("HostCards", 1, 0, "HostPollAnswerViewBase");
    }

    template <class Card = VTAPollView>
    void show(const Poll &question, std::optional<QString> previous = std::nullopt)
    {
        backend->answer(QStringLiteral("/userApi/poll/answer_new/p1"), {200, "{}", {}});
        poll.reset(fromNib<Card>());
        poll->setParentItem(window.contentItem());
        poll->setPosition(QPointF(600, 100));
        poll->setDelegate(&overlay);
        poll->configure(question, previous, 20, {}, std::nullopt);
        poll->forceActiveFocus();
        poll->focusPreferredItem();
        clock.runPending();
    }

    QStringList stats() const
    {
        QStringList texts;
        for (VTAPollAnswerView *row : poll->answerViews())
            texts.append(row->statsLabel()->isVisible() ? text(row->statsLabel())
                                                        : QStringLiteral("(hidden)"));
        return texts;
    }

    std::unique_ptr<VTAPollView> poll;
};

} // namespace

TEST_F(PollTest, statisticsReadAsThePollAsks)
{
    const struct
    {
        const char *type;
        qint64 votes, total;
        const char *shown;
    } rows[] = {
        {"percentage", 0, 0, "0.0%"},   {"votes", 0, 0, "0 - 0.0%"},
        {"numbers", 0, 0, "0"},         {"percentage", 1, 3, "33.3%"},
        {"percentage", 2, 3, "66.7%"},  {"numbers", 12, 30, "12"},
        {"", 12, 30, "12 - 40.0%"},     {"Percentage", 1, 8, "1 - 12.5%"},
        {"percentage", 1, 1, "100.0%"}, {"votes", 1234, 1234, "1234 - 100.0%"},
    };
    show(matchPoll("active", "poll", "percentage", {0}));
    VTAPollAnswerView *row = poll->answerViews()[0];
    for (const auto &r : rows) {
        SCOPED_TRACE(testing::Message() << r.type << " " << r.votes << "/" << r.total);
        row->configure({QStringLiteral("Home"), {}, {}, false, {}, r.votes}, r.total, true,
                       QString::fromLatin1(r.type), std::nullopt);
        EXPECT_EQ(text(row->statsLabel()), QString::fromUtf8(r.shown));
        EXPECT_EQ(row->votes(), r.votes);
        EXPECT_EQ(row->totalVotes(), r.total);
    }
}

TEST_F(PollTest, aVoteCountsAtOnceAndGoesToTheOverlayOnce)
{
    const struct
    {
        const char *questionType;
        const char *module;
    } rows[] = {{"poll", "Polls"}, {"prediction", "Predictions"}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.questionType);
        overlay.calls.clear();
        const qsizetype before = backend->requests().size();
        show(matchPoll("active", row.questionType, "votes"));
        EXPECT_EQ(poll->state(), State::active);
        EXPECT_EQ(text(poll->titleLabel()), QStringLiteral("Who scores next?"));
        EXPECT_EQ(stats(), QStringList(3, QStringLiteral("(hidden)")));
        EXPECT_EQ(poll->getAnalyticsInfo().module, QString::fromLatin1(row.module));
        EXPECT_EQ(poll->getAnalyticsInfo().submodule, QStringLiteral("p1"));

        QTest::keyClick(&window, Qt::Key_Down);
        QTest::keyClick(&window, Qt::Key_Up);
        QTest::keyClick(&window, Qt::Key_Select);
        EXPECT_EQ(stats(),
                  (QStringList{QStringLiteral("3 - 60.0%"), QStringLiteral("1 - 20.0%"),
                               QStringLiteral("1 - 20.0%")}));
        EXPECT_EQ(poll->totalVotes(), 5);
        EXPECT_EQ(poll->state(), State::completed);
        EXPECT_TRUE(poll->infoView()->closeButton()->hasActiveFocus());
        EXPECT_EQ(overlay.calls,
                  (QStringList{QStringLiteral("didSelectPollAnswer(Home, p1, %1)")
                                   .arg(QString::fromLatin1(row.questionType)),
                               QStringLiteral("completed(open)")}));
        ASSERT_EQ(backend->requests().size(), before + 1);
        EXPECT_EQ(requestField(backend->requests().last())[QStringLiteral("data")]
                      .toObject()[QStringLiteral("answer")],
                  QStringLiteral("Home"));

        poll->actionAnswer(poll->answerViews()[1]->button());
        clock.runPending();
        EXPECT_EQ(backend->requests().size(), before + 1) << "a second vote sends nothing";
        EXPECT_EQ(poll->totalVotes(), 5);
        EXPECT_EQ(overlay.calls.last(), QStringLiteral("poll reply(error)"));
        EXPECT_EQ(overlay.calls.size(), 3);
    }
}

TEST_F(PollTest, withoutATokenTheVoteStaysOnTheCard)
{
    overlay.token.reset();
    show(matchPoll());
    QTest::keyClick(&window, Qt::Key_Down);
    QTest::keyClick(&window, Qt::Key_Select);
    clock.runPending();
    EXPECT_TRUE(backend->requests().isEmpty());
    EXPECT_EQ(overlay.calls, QStringList{QStringLiteral("completed(open)")});
    EXPECT_EQ(
        stats(),
        (QStringList{QStringLiteral("40.0%"), QStringLiteral("40.0%"), QStringLiteral("20.0%")}));
}

TEST_F(PollTest, aClosedPollShowsItsFiguresAndCompletesOnceAfterASecond)
{
    const struct
    {
        const char *status;
        std::optional<QString> previous;
        QStringList calls;
    } rows[] = {{"closed", std::nullopt, {QStringLiteral("completed(open)")}},
                {"", std::nullopt, {QStringLiteral("completed(open)")}},
                {"Active", std::nullopt, {QStringLiteral("completed(open)")}},
                {"closed", QStringLiteral("Away"), {}}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.status);
        overlay.calls.clear();
        show(matchPoll(row.status), row.previous);
        EXPECT_TRUE(poll->didEnd());
        EXPECT_EQ(text(poll->titleLabel()), QStringLiteral("Who scores next? [POLL CLOSED]"));
        EXPECT_EQ(poll->state(), State::completed);
        EXPECT_EQ(stats(),
                  (QStringList{QStringLiteral("50.0%"), QStringLiteral("25.0%"),
                               QStringLiteral("25.0%")}));
        QTest::keyClick(&window, Qt::Key_Down);
        poll->actionAnswer(poll->answerViews()[0]->button());
        clock.advanceBy(999ms);
        EXPECT_TRUE(overlay.calls.isEmpty());
        clock.advanceBy(1ms);
        EXPECT_EQ(overlay.calls, row.calls);
        clock.advanceBy(60s);
        EXPECT_EQ(overlay.calls, row.calls) << "once, and no countdown";
        EXPECT_TRUE(backend->requests().isEmpty());
    }
    show(matchPoll("closed"));
    poll.reset();
    overlay.calls.clear();
    clock.advanceBy(2s);
    EXPECT_TRUE(overlay.calls.isEmpty()) << "a card taken away completes nothing";
}

TEST_F(PollTest, aHostsRowsLearnWhichAnswerIsTheViewers)
{
    const struct
    {
        const char *name;
        std::optional<QString> previous;
        const char *status;
        QList<QList<bool>> styles; ///< per row, before any vote
    } rows[] = {
        {"answered the second", QStringLiteral("Away"), "active", {{false}, {true}, {false}}},
        {"answered nothing listed", QStringLiteral("Draw"), "active", {{false}, {false}, {false}}},
        {"closed, not answered", std::nullopt, "closed", {{false}, {false}, {false}}},
        {"open", std::nullopt, "active", {{}, {}, {}}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        show<HostPollView>(matchPoll(row.status), row.previous);
        EXPECT_EQ(poll->width(), 1400) << "the host's layout";
        QList<QList<bool>> styles;
        for (VTAPollAnswerView *answer : poll->answerViews())
            styles.append(static_cast<HostPollAnswerView *>(answer)->completedStyles);
        EXPECT_EQ(styles, row.styles);
        EXPECT_EQ(poll->state(),
                  row.previous || row.styles[0].size() ? State::completed : State::active);
    }
    // A vote on the last answer of the open poll styles every row once more.
    QTest::keyClick(&window, Qt::Key_Down);
    QTest::keyClick(&window, Qt::Key_Down);
    QTest::keyClick(&window, Qt::Key_Select);
    QList<bool> last;
    for (VTAPollAnswerView *answer : poll->answerViews())
        last.append(static_cast<HostPollAnswerView *>(answer)->completedStyles.value(0));
    EXPECT_EQ(last, (QList<bool>{false, false, true}));
    clock.runPending();
}

TEST_F(PollTest, theBarsGrowToEachShareAfterTheVote)
{
    show(matchPoll("active", "poll", "percentage", {3, 1, 0}));
    QTest::keyClick(&window, Qt::Key_Select);
    QQuickItem *first = poll->answerViews()[0]->statsBar();
    ASSERT_NE(first, nullptr);
    const qreal full = poll->answerViews()[0]->button()->width();
    const qreal before = first->width();
    clock.advanceBy(300ms);
    EXPECT_GT(first->width(), before);
    EXPECT_LT(first->width(), full * 0.8);
    clock.advanceBy(1s);
    EXPECT_DOUBLE_EQ(first->width(), full * 0.8);
    EXPECT_DOUBLE_EQ(poll->answerViews()[1]->statsBar()->width(), full * 0.2);
    EXPECT_DOUBLE_EQ(poll->answerViews()[2]->statsBar()->width(), 0);
    EXPECT_TRUE(first->isVisible());
}

TEST_F(PollTest, promotionsAndDesign)
{
    Poll question = matchPoll();
    Promotion promotion;
    promotion.clientType = QStringLiteral("smartTV");
    promotion.viewType.value = QStringLiteral("flip");
    promotion.sponsor = Sponsor{QStringLiteral("Acme"), {}, {}};
    question.prizes = {promotion};
    poll.reset(fromNib<VTAPollView>());
    poll->setParentItem(window.contentItem());
    poll->setDelegate(&overlay);
    poll->configure(
        question, std::nullopt, 20, {},
        DesignInfo{{}, {}, {}, QStringLiteral("#FFD54F"), {}, QStringLiteral("#7B1FA2")});
    poll->forceActiveFocus();
    poll->focusPreferredItem();
    EXPECT_EQ(poll->getAnalyticsInfo().sponsor, QStringLiteral("Acme"));
    for (VTAPollAnswerView *row : poll->answerViews()) {
        EXPECT_EQ(row->statsLabel()->property("color").value<QColor>(), QColor(0xFF, 0xD5, 0x4F));
        EXPECT_EQ(row->button()->focusedTitleColor, QColor(0xFF, 0xD5, 0x4F));
        EXPECT_EQ(row->button()->focusedBackgroundColor, QColor(0x7B, 0x1F, 0xA2));
    }
    clock.advanceBy(5s);
    EXPECT_FALSE(poll->promotionFlipContainer()->isVisible()) << "a flip waits for the vote";
    overlay.token.reset();
    QTest::keyClick(&window, Qt::Key_Select);
    clock.advanceBy(2999ms);
    EXPECT_FALSE(poll->promotionFlipContainer()->isVisible());
    clock.advanceBy(1ms);
    EXPECT_TRUE(poll->promotionFlipContainer()->isVisible());
}

#include "tst_pollview.moc"
