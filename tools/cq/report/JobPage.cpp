#include "report/JobPage.h"

#include <algorithm>

#include "report/GroupSection.h"
#include "report/Html.h"
#include "report/PageHeader.h"
#include "report/RecordStyle.h"

namespace cqtool {
namespace {

std::string footerOf(const Job& job, const ReportView& view) {
    std::string text =
        "Differences are trial minus standard, in CIELAB. ΔE*<sub>ab</sub> is the CIE 1976 colour "
        "difference, ΔE<sub>00</sub> CIEDE2000 (ISO/CIE 11664-6). ";
    if (job.viewing.illuminants.size() > 1) {
        text +=
            "MI is the index of special metamerism from the first illuminant: ΔE*<sub>ab</sub> "
            "under the other one after a multiplicative correction under the first. ";
    }
    text +=
        "Standard deviations are of a sample (n − 1); percentile and largest of signed differences "
        "are by magnitude. ";
    if (outlinedLimit(job) != nullptr) {
        text +=
            "A tolerance line in an a*b* plane is for colours of the standard’s lightness; what "
            "decides is the number. ";
    }
    if (view.hasSpectra) {
        text += "Reflectances are fractions of the perfect white’s. ";
    }
    return element("footer",
                   element("p", text) + element("p", std::string("cq ") + CQAPI_VERSION_STRING));
}

}  // namespace

std::string jobPage(const Job& job, const std::vector<ReportGroup>& groups,
                    const ReportView& view) {
    std::string sections;
    std::string cards;
    for (const ReportGroup& group : groups) {
        if (group.standard != nullptr && !group.trials.empty()) {
            sections += groupSection(job, group, view);
            continue;
        }
        if (group.standard != nullptr) {
            cards += measurementCard(job, *group.standard, view);
        }
        for (const ReportTrial& trial : group.trials) {
            cards += measurementCard(job, *trial.measurement, view);
        }
    }
    // A single standard's own plane shows everything already.
    const std::string plane =
        groups.empty() || (groups.size() == 1 && cards.empty()) ? "" : overviewPlane(job, groups);
    const std::string legend = sections.empty() ? "" : drawingLegend(job);
    std::string body = pageHeader(job, groups, view);
    if (!plane.empty() || !legend.empty()) {
        body += element("div", plane + legend, "overview") + "\n";
    }
    body += sections;
    if (!cards.empty()) {
        body += element("main", "\n" + cards) + "\n";
    }
    return htmlPage(job.title, kRecordStyle, body + footerOf(job, view));
}

}  // namespace cqtool
