#pragma once

#include <map>
#include <memory>
#include <string>

#include "Jobs.h"
#include "States.h"
#include "text/JsonMembers.h"
#include "Web.h"
#include "Worker.h"

namespace station {

/// What the page and other programs can ask for; docs/station-api.md describes it. For one thread;
/// answers to what an instrument has to do come on that instrument's.
class Api {
  public:
    using Workers = std::map<std::string, std::unique_ptr<Worker>>;  ///< by their names

    Api(Jobs& jobs, const States& states, Workers& workers)
        : jobs_(jobs), states_(states), workers_(workers) {}

    /// \param request one that may be answered.
    void handle(const Request& request, const Respond& respond);

  private:
    Response get(const std::string& path, const Request& request);
    Response job(const std::string& name, const std::string& rest, const Request& request);
    Response measurement(Journal& journal, const std::string& rest);
    Response events(const Request& request);
    void post(const std::string& path, const cqtool::JsonMembers& body, const Respond& respond);
    Response makeJob(const cqtool::JsonMembers& body);
    Response changeJob(const std::string& name, const std::string& action,
                       const cqtool::JsonMembers& body);
    void command(Worker& worker, const std::string& action, const cqtool::JsonMembers& body,
                 const Respond& respond);

    Jobs& jobs_;
    const States& states_;
    Workers& workers_;
};

}  // namespace station
