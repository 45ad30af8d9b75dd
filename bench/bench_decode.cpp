// Strict decoding of channel documents against simdjson's raw parse of the same bytes. The
// documents are generated from a fixed seed, at about 5 KB, 100 KB and 5 MB.

#include "vantora/records/jsoncodec_p.h"

#include <benchmark/benchmark.h>
#include <simdjson.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <string>

#include <unistd.h>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;

namespace {

class ChannelGenerator
{
public:
    // Item n comes out the same whatever the count, so the size grows about linearly with the
    // count: measure the fixed part and an average item, then pick the count nearest the target.
    QByteArray document(qsizetype targetBytes)
    {
        constexpr qsizetype sample = 64;
        const qsizetype fixed = Json::encode(build(0)).size();
        const qsizetype perItem = (Json::encode(build(sample)).size() - fixed) / sample;
        const qsizetype items = (targetBytes - fixed + perItem / 2) / perItem;
        return Json::encode(build(std::max<qsizetype>(1, items)));
    }

private:
    // Polls, ratings, predictions and trivia questions in turn, each with its schedule entry.
    StreamerInfo build(qsizetype items)
    {
        m_random.seed(2041);
        StreamerInfo info;
        info.name = u"Champions Night Live"_s;
        info.broadcaster_id = u"acme-sports"_s;
        info.id = u"ch-2041"_s;
        info.offers = {{u"Half-time pizza deal"_s}, {u"Season pass \u221220%"_s}};
        info.polls.emplace();
        info.predictions.emplace();
        info.ratings.emplace();
        info.trivias.emplace();
        info.injections.emplace();
        info.designs = QList<DesignInfo>{{u"SmartTV"_s, u"designs/bg.png"_s, u"designs/logo.png"_s,
                                          u"#FFFFFFFF"_s, u"DejaVu Sans"_s, u"#1E88E5FF"_s}};
        for (qsizetype n = 0; n < items; ++n) {
            const qsizetype i = n / 4;
            switch (n % 4) {
            case 0:
                info.polls->append(poll(i, u"poll"_s));
                info.injections->append(injection(info.polls->constLast().id, u"polls"_s, n));
                break;
            case 1:
                info.ratings->append(rating(i));
                info.clocks.append(
                    {{id(u"rt"_s, i)}, u"rating"_s, 60 * i, {u"30"_s}, true, false, true});
                break;
            case 2:
                info.predictions->append(poll(i, u"prediction"_s));
                info.injections->append(
                    injection(info.predictions->constLast().id, u"predictions"_s, n));
                break;
            default:
                info.trivias->append({id(u"tq"_s, i), QList<Promotion>{promotion()}});
                info.clocks.append(
                    {{id(u"tq"_s, i)}, u"quiz"_s, 60 * i + 30, {u"20"_s}, false, true, {}});
                break;
            }
        }
        return info;
    }

    QString phrase(int words)
    {
        static const QString vocabulary[] = {
            u"who"_s,
            u"scores"_s,
            u"next"_s,
            u"goal"_s,
            u"tonight"_s,
            u"best"_s,
            u"player"_s,
            u"half"_s,
            u"caf\u00e9"_s,
            u"f\u00fatbol"_s,
            u"\u05de\u05e9\u05d7\u05e7"_s,
            u"\u05e9\u05e2\u05e8"_s,
            u"penalty"_s,
            u"corner"_s,
            u"keeper"_s,
            u"derby"_s,
        };
        QString text;
        for (int i = 0; i < words; ++i) {
            if (i)
                text += u' ';
            text += vocabulary[m_random() % std::size(vocabulary)];
        }
        return text;
    }

    static QString id(const QString &prefix, qsizetype i)
    {
        return prefix + u'-' + QString::number(i);
    }

    Promotion promotion()
    {
        Promotion p;
        p.name = phrase(2);
        p.content = u"promos/"_s + phrase(1) + u".png"_s;
        p.description = phrase(6);
        p.url = u"https://sponsor.example/offer"_s;
        p.type = u"image"_s;
        p.viewType.value = m_random() % 2 ? u"flip"_s : u"display"_s;
        p.clientType = m_random() % 3 ? u"smartTV"_s : u"web"_s;
        p.secondsDelay = m_random() % 15;
        p.smart_tv_img = u"promos/tv.png"_s;
        p.sponsor = Sponsor{phrase(1), phrase(4), u"https://sponsor.example"_s};
        return p;
    }

    Poll poll(qsizetype i, const QString &kind)
    {
        Poll p;
        p.name = phrase(2);
        p.id = id(kind, i);
        p.question = phrase(8) + u'?';
        p.questionType = kind;
        p.type = u"single"_s;
        p.image = u"polls/"_s + p.id + u".png"_s;
        p.time_limit = 45;
        p.viewType = u"percent"_s;
        p.status = u"active"_s;
        const int answers = 3 + int(m_random() % 3);
        for (int a = 0; a < answers; ++a) {
            p.answers.append({phrase(2),
                              u"answers/a.png"_s,
                              {QString::number(m_random() % 50)},
                              false,
                              false,
                              qint64(m_random() % 5000)});
        }
        p.prizes = {promotion()};
        p.is_wager = kind == u"prediction"_s;
        p.expoints.value = u"20"_s;
        return p;
    }

    Rating rating(qsizetype i)
    {
        Rating r;
        r.name = phrase(5);
        r.id = id(u"rt"_s, i);
        r.description = phrase(6);
        r.icon = u"icons/star.png"_s;
        r.optionsNumber = u"5"_s;
        r.averageRate = 3.5;
        r.totalPeople = qint64(m_random() % 900);
        r.totalPoints = qint64(m_random() % 4000);
        r.prizes = {promotion()};
        r.expoints = RelaxedString{u"5"_s};
        return r;
    }

    static Injection injection(const QString &itemId, const QString &module, qsizetype n)
    {
        Injection injection;
        injection.id = itemId;
        injection.module = module;
        injection.injection_timestamp.value = QString::number(1763900000 + 40 * n);
        injection.timeToStay.value = u"45"_s;
        injection.active = true;
        injection.close_post_interaction = true;
        injection.smartTV = true;
        injection.once_per_user = false;
        return injection;
    }

    std::mt19937 m_random;
};

// Collects bytes per second by benchmark name, then prints decode against raw parse per size.
// The table's MB are 10^6 bytes; Google Benchmark's own column uses powers of 1024.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    // A reporter of our own bypasses --benchmark_color: colour only a terminal, as its default.
    RatioReporter() : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_ColorTabular : OO_Tabular) { }

    void ReportRuns(const std::vector<Run> &runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        // With --benchmark_repetitions the median stands for the benchmark; otherwise its run.
        for (const Run &run : runs) {
            const auto rate = run.counters.find("bytes_per_second");
            const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if (rate == run.counters.end() || (run.run_type == Run::RT_Aggregate && !median))
                continue;
            Rate &slot = m_rates[run.run_name.str()];
            if (median || !slot.median)
                slot = {rate->second.value, median};
        }
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        // The rows of the table scripts/bench prints.
        for (const auto &[size, bytes] : m_sizes) {
            const auto raw = m_rates.find("raw_parse/" + size);
            const auto strict = m_rates.find("strict_decode/" + size);
            if (raw == m_rates.end() || strict == m_rates.end())
                continue; // filtered out on the command line
            std::printf("| decoding a %s channel document (%lld bytes), strict | %.0f MB/s = "
                        "%.2f × raw parse | ≥ 0.2 × raw parse | simdjson raw parse %.0f MB/s |\n",
                        size.c_str(), static_cast<long long>(bytes), strict->second.value / 1e6,
                        strict->second.value / raw->second.value, raw->second.value / 1e6);
        }
    }

    void addSize(const std::string &name, qsizetype bytes) { m_sizes.emplace_back(name, bytes); }

private:
    struct Rate
    {
        double value = 0;
        bool median = false;
    };
    std::map<std::string, Rate> m_rates;
    std::vector<std::pair<std::string, qsizetype>> m_sizes;
};

} // namespace

int main(int argc, char **argv)
{
    ChannelGenerator generator;
    RatioReporter reporter;
    const std::pair<const char *, qsizetype> sizes[] = {
        {"5KB", 5 * 1024}, {"100KB", 100 * 1024}, {"5MB", 5 * 1024 * 1024}};

    std::vector<QByteArray> documents;
    documents.reserve(std::size(sizes));
    for (const auto &[name, target] : sizes) {
        const QByteArray &json = documents.emplace_back(generator.document(target));
        // Once, untimed: the timed decode must succeed and build every record the bytes hold.
        const auto checked = Json::decode<StreamerInfo>(json);
        if (!checked) {
            std::fprintf(stderr, "generated %s document does not decode: %s\n", name,
                         qPrintable(checked.error().message()));
            return EXIT_FAILURE;
        }
        if (Json::encode(checked.value()) != json) {
            std::fprintf(stderr, "generated %s document does not decode to its records\n", name);
            return EXIT_FAILURE;
        }
        reporter.addSize(name, json.size());
        const auto bytes = static_cast<int64_t>(json.size());

        benchmark::RegisterBenchmark(
            (std::string("raw_parse/") + name).c_str(), [&json, bytes](benchmark::State &state) {
                simdjson::dom::parser parser;
                for (auto _ : state) {
                    simdjson::dom::element root;
                    if (parser.parse(json.constData(), size_t(bytes)).get(root))
                        state.SkipWithError("parse failed");
                    benchmark::DoNotOptimize(root);
                }
                state.SetBytesProcessed(state.iterations() * bytes);
            });
        benchmark::RegisterBenchmark((std::string("strict_decode/") + name).c_str(),
                                     [&json, bytes](benchmark::State &state) {
                                         for (auto _ : state) {
                                             auto info = Json::decode<StreamerInfo>(json);
                                             benchmark::DoNotOptimize(info);
                                         }
                                         state.SetBytesProcessed(state.iterations() * bytes);
                                     });
    }

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return EXIT_SUCCESS;
}
