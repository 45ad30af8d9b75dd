#pragma once

#include "memorytransport.h"
#include "testsupport.h"
#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/virtualtimescheduler_p.h"
#include "vantora/views/interactiondelegate_p.h"
#include "vantora/views/notice/noticedelegate_p.h"
#include <vantora/views/notice/vtanotice.h>
#include <vantora/views/poll/vtapollview.h>
#include <vantora/views/rating/vtaratingview.h>
#include <vantora/views/trivia/vtatriviaview.h>

#include <QBuffer>
#include <QQuickWindow>
#include <QTest>

#include <gtest/gtest.h>

// Records are written with designated initializers that name only the members a test sets.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using State = Vantora::InteractionState;
using Vantora::TestSupport::unquoted;
template <class Reply>
using Done = VTAServiceManager::Completion<Reply>;

// An overlay stand-in that writes down every call of a card or a notice, and the backend's reply
// to each answer, which the cards hand to the overlay.
class RecordingOverlay : public QObject, public InteractionDelegate, public NoticeDelegate
{
    Q_OBJECT
    Q_INTERFACES(Vantora::InteractionDelegate Vantora::NoticeDelegate)

public:
    QStringList calls;
    std::optional<QString> token = u"token"_s; ///< the signed-in viewer's

    std::string take() { return std::exchange(calls, {}).join(u"; "_s).toStdString(); }
    auto note(const QString &call)
    {
        calls.append(call);
        return [this, call](const auto &reply) {
            calls.append(call + (reply ? u" ok"_s : u" failed"_s));
        };
    }
    Done<AnswerTriviaResponse> didSelectTriviaAnswer(const QString &a, const QString &id) override
    {
        return note(u"trivia(%1, %2)"_s.arg(a, id));
    }
    Done<AnswerPollResponse> didSelectPollAnswer(const QString &a, const QString &id,
                                                 const QString &type) override
    {
        return note(u"poll(%1, %2, %3)"_s.arg(a, id, type));
    }
    Done<AnswerRatingResponse> didSelectRatingAnswer(qint64 answer, const QString &id) override
    {
        return note(u"rating(%1, %2)"_s.arg(answer).arg(id));
    }
    void closeInteraction(VTAInteractionView *, bool button) override
    {
        calls.append(button ? u"close(button)"_s : u"close"_s);
    }
    void closeNotice(VTANotice *notice, bool button) override
    {
        calls.append(
            u"closeNotice(%1%2)"_s.arg(notice->noticeId(), button ? u", button"_s : u""_s));
    }
    void didEndPoll() override { calls.append(u"didEndPoll"_s); }
    std::optional<QString> userToken() const override { return token; }
    QString channelID() const override { return u"ch1"_s; }
    QString broadcaster() const override { return u"bc"_s; }
    void handleInteractionCompleted(bool closed) override
    {
        calls.append(closed ? u"completed(closed)"_s : u"completed"_s);
    }
    void sendAnalyticsEvent(const AnalyticsInfo &info, const QString &type, bool activity) override
    {
        calls.append(u"%1(%2 %3 %4%5)"_s.arg(type, info.module, info.submodule.value_or(u"-"_s),
                                             info.sponsor.value_or(u"-"_s),
                                             activity ? u", activity"_s : u""_s));
    }
};

// The cases of one family in tests/data/views_cases.txt.
inline QList<QStringList> cases(QStringView section)
{
    return TestSupport::caseTable(u"views_cases.txt", section);
}
// A row's cells from `first` on as one text, " | " between them as on the screen, "\n" a line
// break; "-" is nothing.
inline std::string rest(const QStringList &row, qsizetype first)
{
    const QString cells = row.mid(first).join(u" | "_s).replace(u"\\n"_s, u"\n"_s);
    return cells == u"-"_s ? std::string() : cells.toStdString();
}
inline State state(const QString &name)
{
    return State(QMetaEnum::fromType<State>().keyToValue(qPrintable(name)));
}

inline std::string text(const QQuickItem *item)
{
    return item->property("text").toString().toStdString();
}
inline QColor color(const QObject *item)
{
    return item->property("color").value<QColor>();
}
// What the viewer reads in an item, in the order of its items: each visible text, " | " between
// them, the focused control's in [brackets].
inline std::string screen(const QQuickItem *item, bool focused = false)
{
    if (!item->isVisible() || item->opacity() == 0)
        return {};
    focused = focused || (item->activeFocusOnTab() && item->hasActiveFocus());
    std::string shown = item->inherits("QQuickText") ? text(item) : std::string();
    if (focused && !shown.empty())
        shown = '[' + shown + ']';
    for (const QQuickItem *child : item->childItems()) {
        const std::string more = screen(child, focused);
        shown += shown.empty() || more.empty() ? more : " | " + more;
    }
    return shown;
}

inline QByteArray png(QSize size, QColor color = Qt::magenta)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(color);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    return bytes;
}

// A sponsor's promotion for television; an empty sponsor is none.
inline Promotion tvPromotion(const QString &viewType, const QString &sponsor = {})
{
    return {.content = u"<b>Brought to you by Acme</b>"_s,
            .viewType = {viewType},
            .clientType = u"smartTV"_s,
            .smart_tv_img = u"promotions/acme.png"_s,
            .sponsor = sponsor.isEmpty() ? std::nullopt : std::optional(Sponsor{.name = sponsor})};
}

inline Trivia olympics(std::optional<TriviaAnswer> answer = {})
{
    return {{.id = u"t1"_s,
             .question = u"Which city hosted the first modern Games?"_s,
             .answers = {{.answer = u"Paris"_s}, {.answer = u"Athens"_s}, {.answer = u"London"_s}}},
            answer};
}

// The backend's verdict on an answer to olympics().
inline TriviaAnswer verdict(const QString &answer)
{
    return {.answer = answer,
            .correctAnswer = {.answer = u"Athens"_s},
            .isCorrect = answer == u"Athens"_s};
}

inline Poll matchPoll(const char *status = "active", const char *viewType = "votes")
{
    return {.id = u"p1"_s,
            .question = u"Who scores next?"_s,
            .questionType = u"poll"_s,
            .viewType = QString::fromLatin1(viewType),
            .status = QString::fromLatin1(status),
            .answers = {{.answer = u"Home"_s, .totals = 2},
                        {.answer = u"Away"_s, .totals = 1},
                        {.answer = u"Nobody"_s, .totals = 1}}};
}

inline Rating halfTime(const char *scale = "5", std::optional<qint64> people = {},
                       std::optional<qint64> points = {})
{
    return {.name = u"How was the half-time show?"_s,
            .id = u"r1"_s,
            .optionsNumber = QString::fromLatin1(scale),
            .totalPeople = people,
            .totalPoints = points};
}

// Views on a shown 1080p window in virtual time, reporting to the recording overlay, with an
// in-memory backend that has the sponsor's picture.
class CardTest : public testing::Test
{
protected:
    CardTest()
    {
        auto transport = std::make_unique<TestSupport::MemoryTransport>();
        backend = transport.get();
        VTAServiceManager::shared().setTransport(std::move(transport));
        VTAServiceManager::shared().setEnvironment(
            VTAEnvironment(u"https://api.example.com/userApi"_s, u"https://media.example.com"_s,
                           u"k"_s, u"us2"_s, u"test3"_s));
        backend->answer(u"/promotions/acme.png"_s, {200, png({8, 8}, Qt::green), {}});
        window.resize(1920, 1080);
        window.show();
    }

    template <class T = VTAInteractionView>
    T *make()
    {
        T *view = VTAViews::create<T>();
        views.emplace_back(view);
        view->setParentItem(window.contentItem());
        view->setPosition({600, 60});
        view->setDelegate(&overlay);
        return view;
    }
    // As the overlay shows a card: configured, with the remote's focus.
    template <class T, class Item, class... Args>
    T *show(const Item &item, Args... args)
    {
        T *card = make<T>();
        card->configure(item, args...);
        card->forceActiveFocus();
        card->focusPreferredItem();
        clock.runPending();
        return card;
    }
    VTATriviaView *showTrivia(const Trivia &trivia, std::optional<DesignInfo> design = {})
    {
        return show<VTATriviaView>(trivia, 30, viewer, design);
    }
    VTAPollView *showPoll(const Poll &poll, std::optional<QString> previous = {},
                          std::optional<DesignInfo> design = {})
    {
        return show<VTAPollView>(poll, previous, 20, viewer, design);
    }
    VTARatingView *showRating(const Rating &rating, std::optional<QString> previous = {},
                              std::optional<DesignInfo> design = {})
    {
        return show<VTARatingView>(rating, previous, 30, viewer, design);
    }
    void press(std::initializer_list<Qt::Key> keys)
    {
        for (Qt::Key key : keys)
            QTest::keyClick(&window, key);
    }
    // The last request: its path and the JSON it carries.
    std::string lastRequest() const
    {
        const QByteArray body = backend->requests().last().body;
        const qsizetype start = body.indexOf('{');
        return (backend->requests().last().url.path().toUtf8() + ' '
                + QJsonDocument::fromJson(body.mid(start, body.lastIndexOf('}') + 1 - start))
                      .toJson(QJsonDocument::Compact))
            .toStdString();
    }

    static constexpr VTAPointsInfo viewer{1000, 0, 2};
    VirtualTimeScheduler clock;
    TestSupport::MemoryTransport *backend = nullptr;
    RecordingOverlay overlay;
    QQuickWindow window;
    std::vector<std::unique_ptr<QQuickItem>> views;
};
