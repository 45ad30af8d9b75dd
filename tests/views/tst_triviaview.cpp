#include "viewtest.h"

#include "../service/servicetest.h"
#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/imageview_p.h"
#include "vantora/views/promotionview/promotionview_p.h"
#include "vantora/views/trivia/answermarks_p.h"
#include <vantora/views/trivia/vtatriviaview.h>

#include <QBuffer>
#include <QQmlEngine>
#include <QTest>

using namespace Vantora;
using namespace std::chrono_literals;
using State = InteractionState;

namespace {

// A host's trivia card with a layout of its own.
class HostTriviaView : public VTATriviaView
{
    Q_OBJECT
    Q_CLASSINFO("VantoraLayout", "qrc:/host/HostTriviaView.qml")

public:
    int loaded = 0;
    void didLoadTrivia() override { ++loaded; }
};

QByteArray png(QSize size)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(Qt::magenta);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    return bytes;
}

Promotion prize(const char *clientType, const char *viewType, const char *sponsor)
{
    Promotion promotion;
    if (clientType)
        promotion.clientType = QString::fromLatin1(clientType);
    promotion.viewType.value = QString::fromLatin1(viewType);
    promotion.content = QStringLiteral("Acme");
    promotion.smart_tv_img = QStringLiteral("promotions/acme.png");
    if (sponsor)
        promotion.sponsor = Sponsor{QString::fromLatin1(sponsor), {}, {}};
    return promotion;
}

Trivia olympics()
{
    Trivia trivia;
    trivia.question.id = QStringLiteral("t1");
    trivia.question.question = QStringLiteral("Which city hosted the first modern Games?");
    trivia.question.category = QStringLiteral("Sport");
    for (const char *city : {"Paris", "Athens", "London"})
        trivia.question.answers.append({QString::fromLatin1(city), {}});
    return trivia;
}

TriviaAnswer answered(const char *answer, bool isCorrect)
{
    TriviaAnswer result;
    result.userId = QStringLiteral("u1");
    result.questionId = QStringLiteral("t1");
    result.answer = QString::fromLatin1(answer);
    result.correctAnswer = {QStringLiteral("Athens"), {}};
    result.isCorrect = isCorrect;
    return result;
}

class TriviaTest : public CardTest
{
protected:
    TriviaTest()
    {
        trivia.reset(fromNib<VTATriviaView>());
        trivia->setParentItem(window.contentItem());
        trivia->setPosition(QPointF(600, 100));
        trivia->setDelegate(&overlay);
        backend->answer(QStringLiteral("/promotions/acme.png"), {200, png({8, 8}), {}});
    }

    void show(const Trivia &question, std::optional<DesignInfo> design = std::nullopt)
    {
        trivia->configure(question, 30, {10, 0, 2}, design);
        trivia->forceActiveFocus();
        trivia->focusPreferredItem();
        clock.runPending();
    }

    QStringList shownRows() const
    {
        QStringList titles;
        for (QQuickItem *item : trivia->resultStack()->childItems())
            titles.append(static_cast<VTATriviaAnswerView *>(item)->title());
        return titles;
    }

    std::unique_ptr<VTATriviaView> trivia;
};

} // namespace

TEST_F(TriviaTest, anOpenQuestionCountsDownOverItsAnswers)
{
    show(olympics());
    EXPECT_EQ(trivia->state(), State::active);
    EXPECT_EQ(trivia->identifier(), QStringLiteral("t1"));
    EXPECT_EQ(text(trivia->titleLabel()),
              QStringLiteral("Which city hosted the first modern Games?"));
    ASSERT_EQ(trivia->answerViews().size(), 3);
    EXPECT_EQ(trivia->answerStack()->childItems().size(), 3);
    EXPECT_EQ(trivia->answerViews()[2]->title(), QStringLiteral("London"));
    EXPECT_FALSE(trivia->resultContainer()->isVisible());
    EXPECT_TRUE(trivia->answerViews()[0]->button()->hasActiveFocus());
    EXPECT_EQ(text(trivia->infoView()->timerLabel1()), QStringLiteral("30"));
    EXPECT_EQ(text(trivia->infoView()->pointsLabel()), QStringLiteral("10"));
    clock.advanceBy(30s);
    EXPECT_EQ(overlay.calls, QStringList{QStringLiteral("close(no button)")});
}

TEST_F(TriviaTest, theRemoteAnswersOnceAndTheReplyGoesToTheOverlay)
{
    backend->answer(QStringLiteral("/userApi/trivia/answer/t1"), {200, "{}", {}});
    show(olympics());
    QTest::keyClick(&window, Qt::Key_Down);
    QTest::keyClick(&window, Qt::Key_Down);
    QTest::keyClick(&window, Qt::Key_Down); // past the last answer: stays
    EXPECT_TRUE(trivia->answerViews()[2]->button()->hasActiveFocus());
    QTest::keyClick(&window, Qt::Key_Up);
    EXPECT_TRUE(trivia->answerViews()[1]->button()->hasActiveFocus());
    QTest::keyClick(&window, Qt::Key_Select);
    EXPECT_EQ(overlay.calls,
              (QStringList{QStringLiteral("didSelectTriviaAnswer(Athens, t1)"),
                           QStringLiteral("completed(open)")}));
    EXPECT_EQ(trivia->state(), State::loading);
    EXPECT_FALSE(trivia->resultContainer()->isVisible()) << "no result before the reply";
    ASSERT_EQ(backend->requests().size(), 1);
    EXPECT_EQ(requestField(backend->requests()[0]),
              QJsonObject({{QStringLiteral("data"),
                            QJsonObject({{QStringLiteral("broadcasterName"), QStringLiteral("bc")},
                                         {QStringLiteral("channelId"), QStringLiteral("ch1")},
                                         {QStringLiteral("userToken"), QStringLiteral("token")},
                                         {QStringLiteral("answer"), QStringLiteral("Athens")}})}}));

    QTest::keyClick(&window, Qt::Key_Up);
    QTest::keyClick(&window, Qt::Key_Select);
    trivia = nullptr; // the overlay may close the card before the reply
    clock.runPending();
    EXPECT_EQ(backend->requests().size(), 1) << "a second press sends nothing";
    EXPECT_EQ(overlay.calls.size(), 3);
    EXPECT_EQ(overlay.calls.last(), QStringLiteral("trivia reply(error)"));
}

TEST_F(TriviaTest, withoutATokenTheAnswerStaysOnTheCard)
{
    overlay.token.reset();
    show(olympics());
    QTest::keyClick(&window, Qt::Key_Select);
    clock.runPending();
    EXPECT_TRUE(backend->requests().isEmpty());
    EXPECT_EQ(overlay.calls, QStringList{QStringLiteral("completed(open)")});
    EXPECT_EQ(trivia->state(), State::loading);
}

TEST_F(TriviaTest, theResultListsTheChoiceThenTheCorrectAnswerAndTheVerdict)
{
    const struct
    {
        const char *answer;
        bool isCorrect;
        std::optional<double> points;
        QStringList rows;
        const char *verdict;
    } rows[] = {
        {"Athens",
         true,
         7.0,
         {QStringLiteral("Athens")},
         "AWESOME! You won 7 pts for the correct answer"},
        {"Athens",
         true,
         12.5,
         {QStringLiteral("Athens")},
         "AWESOME! You won 12.5 pts for the correct answer"},
        {"Athens",
         true,
         1234.25,
         {QStringLiteral("Athens")},
         "AWESOME! You won 1,234.2 pts for the correct answer"},
        {"Athens", true, std::nullopt, {QStringLiteral("Athens")}, "Correct answer"},
        {"London",
         false,
         5.0,
         {QStringLiteral("London"), QStringLiteral("Athens")},
         "Wrong answer\nBetter luck next time"},
        {"Paris",
         false,
         std::nullopt,
         {QStringLiteral("Paris"), QStringLiteral("Athens")},
         "Wrong answer\nBetter luck next time"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.answer << " " << row.points.value_or(-1));
        trivia.reset(fromNib<VTATriviaView>());
        trivia->setParentItem(window.contentItem());
        trivia->setDelegate(&overlay);
        show(olympics());
        trivia->showResult(answered(row.answer, row.isCorrect), row.points);
        EXPECT_FALSE(trivia->answerStack()->isVisible());
        EXPECT_TRUE(trivia->resultContainer()->isVisible());
        EXPECT_EQ(shownRows(), row.rows);
        EXPECT_EQ(text(trivia->resultLabel()), QString::fromUtf8(row.verdict));

        const auto *chosen =
            static_cast<VTATriviaAnswerView *>(trivia->resultStack()->childItems()[0]);
        const auto *correct =
            static_cast<VTATriviaAnswerView *>(trivia->resultStack()->childItems().last());
        EXPECT_EQ(correct->titleLabel()->property("color").value<QColor>(), correctColor());
        EXPECT_EQ(correct->checkMarkView()->tintColor(), correctColor());
        EXPECT_EQ(correct->checkMarkView()->image(), answerMarkImage(AnswerMark::checkmark));
        if (!row.isCorrect) {
            EXPECT_EQ(chosen->titleLabel()->property("color").value<QColor>(), wrongColor());
            EXPECT_EQ(chosen->checkMarkView()->tintColor(), wrongColor());
            EXPECT_EQ(chosen->checkMarkView()->image(), answerMarkImage(AnswerMark::xmark));
        }
        EXPECT_TRUE(trivia->infoView()->closeButton()->hasActiveFocus())
            << "the focus leaves the hidden answers";
    }
}

TEST_F(TriviaTest, anAnsweredQuestionOpensAsItsResult)
{
    const struct
    {
        bool isCorrect;
        const char *answer;
        const char *verdict;
        QStringList rows;
    } rows[] = {{true, "Athens", "Correct answer", {QStringLiteral("Athens")}},
                {false,
                 "London",
                 "Wrong answer\nBetter luck next time",
                 {QStringLiteral("London"), QStringLiteral("Athens")}}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.answer);
        overlay.calls.clear();
        trivia.reset(fromNib<VTATriviaView>());
        trivia->setParentItem(window.contentItem());
        trivia->setDelegate(&overlay);
        Trivia question = olympics();
        question.answer = answered(row.answer, row.isCorrect);
        question.question.prizes = QList<Promotion>{prize("smartTV", "flip", nullptr)};
        show(question);
        EXPECT_EQ(trivia->state(), State::completed);
        EXPECT_FALSE(trivia->infoView()->timerView()->isVisible());
        EXPECT_EQ(shownRows(), row.rows);
        EXPECT_EQ(text(trivia->resultLabel()), QString::fromUtf8(row.verdict));
        EXPECT_TRUE(trivia->infoView()->closeButton()->hasActiveFocus());

        // Answers taken off the card are still in hand, but pressing them does nothing.
        trivia->actionAnswer(trivia->answerViews()[0]->button());
        QTest::keyClick(&window, Qt::Key_Select); // the close button
        EXPECT_EQ(overlay.calls, QStringList{QStringLiteral("close(button)")});
        EXPECT_TRUE(backend->requests().isEmpty());

        clock.advanceBy(2999ms);
        EXPECT_FALSE(trivia->promotionFlipContainer()->isVisible());
        clock.advanceBy(1ms);
        EXPECT_TRUE(trivia->promotionFlipContainer()->isVisible()) << "promotion after 3 s";
        clock.advanceBy(30s);
        EXPECT_EQ(overlay.calls.size(), 1) << "no countdown closes a result";
    }
}

TEST_F(TriviaTest, promotionsComeAfterTheirDelayAndNameTheirSponsor)
{
    const struct
    {
        const char *name;
        QList<Promotion> prizes;
        bool atStart;
        std::optional<std::chrono::milliseconds> delay;
        std::optional<QString> sponsor;
    } rows[] = {
        {"display at start",
         {prize("smartTV", "display", "Acme")},
         true,
         800ms,
         QStringLiteral("Acme")},
        {"flip after the answer", {prize("smartTV", "flip", nullptr)}, false, 3000ms, std::nullopt},
        {"first TV prize only",
         {prize(nullptr, "display", "Skipped"), prize("SmartTV", "display", "Skipped"),
          prize("smartTV", "display", "Beta"), prize("smartTV", "flip", "Gamma")},
         true,
         800ms,
         QStringLiteral("Beta")},
        {"no TV prize", {prize("web", "display", "Web")}, false, std::nullopt, std::nullopt},
        {"no prizes", {}, false, std::nullopt, std::nullopt},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        trivia.reset(fromNib<VTATriviaView>());
        trivia->setParentItem(window.contentItem());
        trivia->setDelegate(&overlay);
        Trivia question = olympics();
        question.question.prizes = row.prizes;
        show(question);
        const AnalyticsInfo info = trivia->getAnalyticsInfo();
        EXPECT_EQ(info.module, QStringLiteral("Trivia"));
        EXPECT_EQ(info.submodule, QStringLiteral("t1"));
        EXPECT_EQ(info.sponsor, row.sponsor);

        const auto shown = [&] {
            return trivia->promotionContainer()->isVisible()
                || trivia->promotionFlipContainer()->isVisible();
        };
        if (!row.atStart) // the overlay schedules the others once the result is known
            trivia->showPromotionIfNeeded(question);
        if (row.delay) {
            clock.advanceBy(*row.delay - 1ms);
            EXPECT_FALSE(shown());
            clock.advanceBy(1ms);
            EXPECT_TRUE(shown());
        } else {
            clock.advanceBy(10s);
            EXPECT_FALSE(shown());
            EXPECT_EQ(trivia->promotionView(), nullptr);
        }
    }
}

TEST_F(TriviaTest, answerPicturesFitFortyPixelsAndEmptyOnesCollapse)
{
    backend->answer(QStringLiteral("/img/tall.png"), {200, png({100, 200}), {}});
    backend->answer(QStringLiteral("/img/wide.png"), {200, png({200, 30}), {}});
    backend->answer(QStringLiteral("/img/broken.png"), {404, "not found", {}});
    Trivia question = olympics();
    question.question.answers = {{QStringLiteral("Tall"), QStringLiteral("img/tall.png")},
                                 {QStringLiteral("Wide"), QStringLiteral("img/wide.png")},
                                 {QStringLiteral("Broken"), QStringLiteral("img/broken.png")},
                                 {QStringLiteral("Empty"), QString()},
                                 {QStringLiteral("None"), std::nullopt}};
    show(question);
    const QList<VTATriviaAnswerView *> &rows = trivia->answerViews();
    EXPECT_EQ(rows[0]->imageView()->image().size(), QSize(20, 40));
    EXPECT_EQ(rows[1]->imageView()->image().size(), QSize(200, 30)) << "only taller images shrink";
    EXPECT_TRUE(rows[2]->imageView()->image().isNull());
    for (int i : {0, 1, 2})
        EXPECT_GT(rows[i]->imageColumn()->width(), 0);
    for (int i : {3, 4})
        EXPECT_EQ(rows[i]->imageColumn()->width(), 0);
    EXPECT_EQ(backend->requests().size(), 3);
}

TEST_F(TriviaTest, theDesignColoursTheAnswersAndTheVerdict)
{
    show(olympics(),
         DesignInfo{{}, {}, {}, QStringLiteral("#FFD54F"), {}, QStringLiteral("#7B1FA2")});
    const QColor text(0xFF, 0xD5, 0x4F);
    for (VTATriviaAnswerView *row : trivia->answerViews()) {
        EXPECT_EQ(row->titleLabel()->property("color").value<QColor>(), text);
        EXPECT_EQ(row->button()->normalTitleColor, text);
        EXPECT_EQ(row->button()->focusedBackgroundColor, QColor(0x7B, 0x1F, 0xA2));
    }
    EXPECT_EQ(trivia->resultLabel()->property("color").value<QColor>(), text);
    EXPECT_EQ(trivia->titleLabel()->property("color").value<QColor>(), text);
}

TEST_F(TriviaTest, aHostsTriviaCardLoadsItsOwnLayout)
{
    qmlRegisterType<HostTriviaView>("HostCards", 1, 0, "HostTriviaViewBase");
    std::unique_ptr<HostTriviaView> host(VTAViews::create<HostTriviaView>());
    ASSERT_NE(host, nullptr);
    EXPECT_EQ(host->width(), 1400);
    host->setDelegate(&overlay);
    host->configure(olympics(), 30, {}, std::nullopt);
    EXPECT_EQ(host->loaded, 1);
    host->showResult(answered("Athens", true), std::nullopt);
    EXPECT_EQ(text(host->resultLabel()), QStringLiteral("Correct answer"));
}

#include "tst_triviaview.moc"
