#include "extremecards.h"

#include "vantora/service/transport_p.h"
#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/focusnavigation_p.h"
#include "vantora/toolkit/scheduler_p.h"
#include "vantora/toolkit/viewloader_p.h"
#include <vantora/views/notice/vtanotice.h>
#include <vantora/views/poll/vtapollview.h>
#include <vantora/views/rating/vtaratingview.h>
#include <vantora/views/trivia/vtatriviaview.h>

#include <QBuffer>
#include <QCoreApplication>
#include <QImage>
#include <QPainter>

#include <algorithm>

namespace Vantora::Extreme {

namespace {

using namespace std::chrono_literals;

// A picture of the given size: a framed, coloured block, so that a squeezed one shows.
QByteArray picture(QSize size, QColor color)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    QPainter painter(&image);
    painter.setPen(QPen(Qt::white, std::max(1, std::min(size.width(), size.height()) / 10)));
    painter.drawRect(image.rect().adjusted(0, 0, -1, -1));
    painter.drawLine(0, 0, size.width(), size.height());
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    return bytes;
}

// The media host of the scenes: a few pictures by path, nothing else.
class PictureHost final : public Transport
{
public:
    void send(HttpRequest request, QObject *context, Done done) override
    {
        static const QHash<QString, QByteArray> pictures{
            {QStringLiteral("/wide-logo.png"), picture({600, 100}, QColor(0xE5, 0x39, 0x35))},
            {QStringLiteral("/logo.png"), picture({200, 30}, QColor(0x43, 0xA0, 0x47))},
            {QStringLiteral("/tall.png"), picture({30, 200}, QColor(0x8E, 0x24, 0xAA))},
            {QStringLiteral("/sponsor-tall.png"), picture({300, 900}, QColor(0xFF, 0xB3, 0x00))},
        };
        HttpReply reply{404, {}, {}};
        if (const auto found = pictures.constFind(request.url.path()); found != pictures.cend())
            reply = {200, *found, {}};
        Scheduler::instance().post(context, [done = std::move(done), reply] { done(reply); });
    }
};

const VTAPointsInfo richViewer{9876543.5, 0, 120};

// Forty characters, as club, film and song names run.
const QString longAnswers[] = {
    QStringLiteral("Manchester United Football Club Reserves"),
    QStringLiteral("The Lord of the Rings: Return of the Kin"),
    QStringLiteral("Bohemian Rhapsody (2011 Remaster Edition"),
    QStringLiteral("Borussia Mönchengladbach Women's Academy"),
    QStringLiteral("Wolverhampton Wanderers Under-23 Squad X"),
    QStringLiteral("Olympique Lyonnais Féminin Second Eleven"),
};
const QString longQuestion = QStringLiteral(
    "In the final minutes of tonight's championship decider, after two red cards, a disallowed "
    "goal and a penalty saved by the substitute goalkeeper, which player do you think will be "
    "named the official man of the match by the broadcaster's panel of former internationals?");
const QString unbrokenWord = QStringLiteral("Supercalifragilisticexpialidoc");

DesignInfo withLogo(const char *logo)
{
    DesignInfo design;
    design.backgroundLogo = QString::fromLatin1(logo);
    return design;
}

template <class View>
View *placeCard(QQuickItem *stage)
{
    View *card = fromNib<View>();
    card->setParent(stage);
    card->setParentItem(stage);
    card->setPosition({stage->width() - card->width(), stage->height() - card->height()});
    return card;
}

template <class View>
View *focused(View *card)
{
    card->forceActiveFocus();
    card->focusPreferredItem();
    return card;
}

Trivia trivia(const QString &question, int answers, bool pictures = false)
{
    Trivia trivia;
    trivia.question.id = QStringLiteral("t1");
    trivia.question.question = question;
    for (int i = 0; i < answers; ++i) {
        AnswerDetail answer{longAnswers[i], {}};
        if (pictures)
            answer.image = i % 2 ? QStringLiteral("tall.png") : QStringLiteral("logo.png");
        trivia.question.answers.append(answer);
    }
    return trivia;
}

TriviaAnswer verdict(const Trivia &trivia, bool correct)
{
    TriviaAnswer result;
    result.questionId = trivia.question.id;
    result.correctAnswer = trivia.question.answers.at(1);
    result.answer = correct ? result.correctAnswer.answer : trivia.question.answers.at(0).answer;
    result.isCorrect = correct;
    return result;
}

Poll poll(const char *viewType, const QString &question, int answers, bool pictures = false)
{
    Poll poll;
    poll.id = QStringLiteral("p1");
    poll.question = question;
    poll.questionType = QStringLiteral("poll");
    poll.viewType = QString::fromLatin1(viewType);
    poll.status = QStringLiteral("active");
    for (int i = 0; i < answers; ++i) {
        PollAnswer answer{longAnswers[i], {}, {}, false, {}, 1203 + 10007 * i};
        if (pictures)
            answer.image = i % 2 ? QStringLiteral("tall.png") : QStringLiteral("logo.png");
        poll.answers.append(answer);
    }
    return poll;
}

Scene triviaScene(const QString &name, Trivia question, std::optional<DesignInfo> design,
                  std::optional<bool> answeredCorrectly = std::nullopt)
{
    return {name, [=](QQuickItem *stage) {
                auto *card = placeCard<VTATriviaView>(stage);
                card->configure(question, 30, richViewer, design);
                if (answeredCorrectly) {
                    card->showResult(verdict(question, *answeredCorrectly),
                                     *answeredCorrectly ? std::optional(1250.5) : std::nullopt);
                    card->applyState(InteractionState::completed);
                }
                return focused(card);
            }};
}

Scene pollScene(const QString &name, Poll question, bool voted,
                std::optional<DesignInfo> design = std::nullopt)
{
    return {name, [=](QQuickItem *stage) {
                auto *card = placeCard<VTAPollView>(stage);
                const std::optional<QString> previous =
                    voted ? std::optional(question.answers.first().answer) : std::nullopt;
                card->configure(question, previous, 45, richViewer, design);
                return focused(card);
            }};
}

Scene ratingScene(int steps, bool rated)
{
    Rating rating;
    rating.id = QStringLiteral("r1");
    rating.name = QStringLiteral("How would you rate the performance of ") + unbrokenWord
        + QStringLiteral(" in tonight's half-time show?");
    rating.optionsNumber = QString::number(steps);
    rating.totalPeople = 128734;
    rating.totalPoints = 489012;
    const QString name = QStringLiteral("rating-%1-steps%2")
                             .arg(steps)
                             .arg(QLatin1StringView(rated ? "-rated" : ""));
    return {name, [=](QQuickItem *stage) {
                auto *card = placeCard<VTARatingView>(stage);
                card->configure(rating, rated ? std::optional(QStringLiteral("3")) : std::nullopt,
                                45, richViewer, std::nullopt);
                return focused(card);
            }};
}

Scene noticeScene(bool won, bool scorePhase)
{
    const QString name = QStringLiteral("notice-%1-%2")
                             .arg(QLatin1StringView(won ? "won" : "lost"),
                                  QLatin1StringView(scorePhase ? "score" : "text"));
    Scene scene{name, [=](QQuickItem *stage) {
                    Poll prediction = poll("percentage", longQuestion, 2);
                    prediction.questionType = QStringLiteral("prediction");
                    auto *notice = fromNib<VTANotice>();
                    notice->setParent(stage);
                    notice->setParentItem(stage);
                    notice->setPosition({stage->width() - notice->width(), 80});
                    notice->configure({longAnswers[0], 1234567.5, prediction.id}, prediction, won,
                                      98765432.5, longAnswers[0], std::nullopt);
                    notice->forceActiveFocus();
                    return notice;
                }};
    if (scorePhase)
        scene.settle = 5000ms;
    return scene;
}

Scene promotionScene(const char *viewType)
{
    Promotion promotion;
    promotion.viewType.value = QString::fromLatin1(viewType);
    promotion.clientType = QStringLiteral("smartTV");
    promotion.smart_tv_img = QStringLiteral("sponsor-tall.png");
    promotion.content =
        QStringLiteral("<div style=\"background-color: #FFC107; color: #1A1A1A\"><b>Acme Sports "
                       "Megastore</b><br>Answer every question tonight for a chance to win two "
                       "season tickets, a signed shirt and dinner with the whole squad.</div>");
    Poll question = poll("percentage", QStringLiteral("Who scores the next goal?"), 3);
    question.prizes = {promotion};
    Scene scene = pollScene(QStringLiteral("promotion-%1").arg(QLatin1StringView(viewType)),
                            question, QString::fromLatin1(viewType) == QStringLiteral("flip"));
    scene.settle = 4000ms;
    return scene;
}

} // namespace

void servePictures()
{
    VTAServiceManager &service = VTAServiceManager::shared();
    service.setTransport(std::make_unique<PictureHost>());
    service.setEnvironment(VTAEnvironment(QStringLiteral("https://api.example.com/userApi"),
                                          QStringLiteral("https://media.example.com"),
                                          QStringLiteral("k"), QStringLiteral("us2"),
                                          QStringLiteral("extreme")));
}

QList<Scene> scenes()
{
    const QString sixLines = longQuestion + QStringLiteral(" Think carefully.");
    QList<Scene> all{
        triviaScene(QStringLiteral("trivia-long-question"), trivia(sixLines, 4), std::nullopt),
        triviaScene(QStringLiteral("trivia-six-answers-wide-logo"),
                    trivia(QStringLiteral("Which of these teams won the cup?"), 6, true),
                    withLogo("wide-logo.png")),
        triviaScene(QStringLiteral("trivia-unbroken-word"),
                    trivia(unbrokenWord + unbrokenWord + QStringLiteral("?"), 3),
                    withLogo("logo.png")),
        triviaScene(QStringLiteral("trivia-long-answered-right"), trivia(longQuestion, 4),
                    std::nullopt, true),
        triviaScene(QStringLiteral("trivia-long-answered-wrong"), trivia(sixLines, 6, true),
                    withLogo("wide-logo.png"), false),
        pollScene(QStringLiteral("poll-percentage"), poll("percentage", longQuestion, 4), true),
        pollScene(QStringLiteral("poll-numbers"), poll("numbers", longQuestion, 6, true), true),
        pollScene(QStringLiteral("poll-mixed"), poll("votes", unbrokenWord, 6), true),
        pollScene(QStringLiteral("poll-open"), poll("votes", sixLines, 6, true), false,
                  withLogo("wide-logo.png")),
        [] {
            Poll prediction = poll("numbers", longQuestion, 3, true);
            prediction.questionType = QStringLiteral("prediction");
            return pollScene(QStringLiteral("prediction"), prediction, false);
        }(),
        noticeScene(true, false),
        noticeScene(true, true),
        noticeScene(false, false),
        promotionScene("display"),
        promotionScene("flip"),
    };
    for (int steps = 1; steps <= 6; ++steps)
        all.append(ratingScene(steps, false));
    all.append(ratingScene(6, true));
    return all;
}

Player::Player(QSize size)
{
    window.resize(size);
    window.setColor(QColor(0x10, 0x14, 0x1C));
    // The overlay's rule: 1080 lines, and room for a whole card across.
    const qreal scale = std::min(size.height() / 1080.0, size.width() / 1240.0);
    stage.setParentItem(window.contentItem());
    stage.setTransformOrigin(QQuickItem::TopLeft);
    stage.setScale(scale);
    stage.setSize(QSizeF(size) / scale);
    window.show();
}

QQuickItem *Player::play(const Scene &scene)
{
    constexpr std::chrono::milliseconds frame{16};
    QQuickItem *view = scene.make(&stage);
    for (std::chrono::milliseconds played{0}; played < scene.settle; played += frame) {
        clock.advanceBy(frame);
        layOutNow(view);
        QCoreApplication::sendPostedEvents();
    }
    layOutNow(view);
    return view;
}

} // namespace Vantora::Extreme
