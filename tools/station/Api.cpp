#include "Api.h"

#include <optional>
#include <utility>

#include "Failure.h"
#include "job/JobEvents.h"
#include "Results.h"
#include "text/Text.h"

namespace station {
namespace {

using cqtool::Failure;
using cqtool::JsonMembers;

constexpr std::size_t kMostMeasurements = 200;
constexpr std::size_t kMostEvents = 1000;
constexpr std::size_t kLongestText = 200;  // of a name or a remark, in bytes

struct NotFound {};

Response json(const Json& content, int status = 200) {
    return {status, "application/json", content.dump(), {}};
}

/// "jobs" and "lot 12/measurements/3" of "/api/jobs/lot 12/measurements/3" without "/api".
std::pair<std::string, std::string> split(const std::string& path) {
    const std::size_t slash = path.find('/');
    return {path.substr(0, slash),
            slash == std::string::npos ? std::string() : path.substr(slash + 1)};
}

/// Without control characters, which would be shown as others.
std::string textIn(const JsonMembers& body, const char* name) {
    const std::string text = body.text(name);
    if (text.size() > kLongestText) {
        body.refuse(name, "must have at most " + std::to_string(kLongestText) + " bytes");
    }
    return std::string(cqtool::trimmed(cqtool::shown(text)));
}

std::string choiceIn(const JsonMembers& body, const char* name, const char* one,
                     const char* other) {
    std::string text = textIn(body, name);
    if (text != one && text != other) {
        body.refuse(name, std::string("must be \"") + one + "\" or \"" + other + '"');
    }
    return text;
}

Json bodyOf(const Request& request) {
    if (!request.contentType.starts_with("application/json")) {
        throw cqtool::UsageError("the body must be JSON, and Content-Type application/json");
    }
    return cqtool::parsedObject(request.body, [](const std::string& problem) {
        throw cqtool::UsageError("the body " + problem);
    });
}

Worker::Reply answerTo(const Respond& respond) {
    return [respond](const Worker::Outcome& outcome) {
        if (outcome.isDone) {
            return respond(json(outcome.answer));
        }
        const auto advice = outcome.answer.find("advice");
        respond(
            refusal(409, outcome.problem,
                    advice == outcome.answer.end() ? std::string() : advice->get<std::string>()));
    };
}

}  // namespace

void Api::handle(const Request& request, const Respond& respond) {
    const std::string path = request.path.substr(std::string("/api/").size());
    try {
        if (request.method == "GET") {
            respond(get(path, request));
        } else if (request.method == "POST") {
            const Json body = bodyOf(request);
            post(path, JsonMembers(body), respond);
        } else {
            respond(refusal(405, "there is GET and POST"));
        }
    } catch (const NotFound&) {
        respond(refusal(404, "there is no " + request.path));
    } catch (const cqtool::UsageError& error) {
        respond(refusal(400, error.what()));
    } catch (const cqtool::WrongMember& error) {
        respond(refusal(400, error.what()));
    } catch (const Failure& failure) {
        respond(refusal(409, failure.what(), failure.advice()));
    } catch (const std::exception& error) {
        respond(refusal(500, error.what()));
    }
}

Response Api::get(const std::string& path, const Request& request) {
    const auto [first, rest] = split(path);
    if (path == "instruments") {
        std::uint64_t version = 0;
        return json({{"instruments", states_.changedSince(version)}});
    }
    if (path == "jobs") {
        return json({{"jobs", jobs_.names()}});
    }
    if (path == "events") {
        return events(request);
    }
    if (first == "jobs") {
        const auto [name, part] = split(rest);
        return job(name, part, request);
    }
    throw NotFound();
}

Response Api::job(const std::string& name, const std::string& rest, const Request& request) {
    const auto journal = jobs_.open(name);
    if (rest.empty()) {
        const auto most = request.queriedNumber("last").value_or(kMostMeasurements);
        return json(journal->with([&](const cqtool::Job& job) {
            return jobJson(name, job, std::min<std::uint64_t>(most, kMostMeasurements));
        }));
    }
    const auto [part, number] = split(rest);
    if (part == "measurements") {
        return measurement(*journal, number);
    }
    throw NotFound();
}

Response Api::measurement(Journal& journal, const std::string& rest) {
    using Draw = std::optional<std::string> (*)(const cqtool::Job&, const cqtool::JobMeasurement&);
    static const std::map<std::string, Draw> drawings{
        {"spectrum.svg", &spectrumSvg}, {"plane.svg", &planeSvg}, {"trend.svg", &trendSvg}};
    const auto parts = split(rest);
    const auto wanted = numberIn(parts.first);
    const std::string& drawing = parts.second;
    const auto draw = drawings.find(drawing);
    if (!wanted || (!drawing.empty() && draw == drawings.end())) {
        throw NotFound();
    }
    return journal.with([&](const cqtool::Job& job) -> Response {
        const auto* const found = job.find(*wanted);
        if (found == nullptr) {
            throw NotFound();
        }
        if (drawing.empty()) {
            return json(resultJson(job, *found));
        }
        const auto svg = draw->second(job, *found);
        return svg ? Response{200, "image/svg+xml", *svg, {}}
                   : Response{204, "image/svg+xml", {}, {}};
    });
}

Response Api::events(const Request& request) {
    const std::string name = request.queried("job");
    const auto number = request.queriedNumber("after").value_or(0);
    if (name.empty()) {
        throw cqtool::UsageError("it is /api/events?job=NAME&after=N");
    }
    const auto journal = jobs_.open(name);
    std::string list;
    for (const std::string& message : journal->messagesAfter(number, kMostEvents)) {
        list.append(list.empty() ? "" : ",").append(message);
    }
    return {
        200,
        "application/json",
        "{\"events\":[" + list + "],\"lastNumber\":" + std::to_string(journal->lastNumber()) + "}",
        {}};
}

void Api::post(const std::string& path, const JsonMembers& body, const Respond& respond) {
    const auto [first, rest] = split(path);
    const auto [name, action] = split(rest);
    if (path == "jobs") {
        return respond(makeJob(body));
    }
    if (first == "jobs") {
        return respond(changeJob(name, action, body));
    }
    const auto worker = workers_.find(name);
    if (first != "instruments" || worker == workers_.end()) {
        throw NotFound();
    }
    command(*worker->second, action, body, respond);
}

Response Api::makeJob(const JsonMembers& body) {
    cqtool::Job job;
    job.title = textIn(body, "title");
    job.operatorName = textIn(body, "operator");
    job.limits = cqtool::limitsOf(body.texts("tolerances"), body.texts("warnings"));
    for (const std::string& text : body.texts("illuminants")) {
        job.viewing.illuminants.push_back(cqtool::illuminantNamed(text));
    }
    if (job.viewing.illuminants.empty()) {
        job.viewing.illuminants.push_back(cqtool::illuminantNamed("D65"));
    }
    const auto journal = jobs_.create(textIn(body, "name"), job);
    return json({{"job", journal->name()}}, 201);
}

Response Api::changeJob(const std::string& name, const std::string& action,
                        const JsonMembers& body) {
    const auto journal = jobs_.open(name);
    const auto number = body.count("number");
    if (action == "undo") {
        return json({{"number", journal->append([&](const cqtool::Job& job) {
                          const auto* const struck = number ? job.find(*number) : job.last();
                          if (struck == nullptr || struck->struckOutBy) {
                              throw Failure("there is no such measurement that counts");
                          }
                          return cqtool::struckOutEvent(struck->number);
                      })}});
    }
    if (action == "remark") {
        const std::string text = textIn(body, "text");
        if (text.empty()) {
            throw cqtool::UsageError("a remark needs a \"text\"");
        }
        return json({{"number", journal->append([&](const cqtool::Job& job) {
                          if (number && job.find(*number) == nullptr) {
                              throw Failure("there is no such measurement");
                          }
                          return cqtool::remarkEvent(text, number);
                      })}});
    }
    throw NotFound();
}

void Api::command(Worker& worker, const std::string& action, const JsonMembers& body,
                  const Respond& respond) {
    if (action == "measure") {
        const std::string kind = choiceIn(body, "kind", "standard", "trial");
        worker.measure(kind == "standard", textIn(body, "name"), answerTo(respond));
    } else if (action == "calibrate") {
        worker.calibrate(choiceIn(body, "on", "white", "black") == "white", answerTo(respond));
    } else if (action == "name") {
        worker.setNextName(textIn(body, "name"), answerTo(respond));
    } else if (action == "job") {
        worker.setJob(textIn(body, "job"), answerTo(respond));
    } else if (action == "standard") {
        worker.setStandard(body.count("number"), answerTo(respond));
    } else {
        throw NotFound();
    }
}

}  // namespace station
