// The report of a force calibration as one HTML file.

#include "report.h"

#include "plots_figures.h"
#include "report_numbers.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

const char *const kScaleWords =
    "The library's spectrum is twice the one-sided density, since it doubles amplitudes and not "
    "powers. Its active method therefore tells beta as the true value divided by \u221a2 and K as "
    "twice the true value, and the tables of equipartition and potential, which take that beta, "
    "tell twice the true K. Power spectrum and line scan are not concerned.";

static const char kStyle[] = R"(
@page { size: A4; margin: 12mm 15mm; }
* { box-sizing: border-box; }
body { font: 15px/1.45 Georgia, 'Liberation Serif', 'DejaVu Serif', serif; color: #1a1a1a;
  background: #fff; max-width: 860px; margin: 0 auto; padding: 24px 20px 48px; }
h1 { font-size: 1.7em; margin: 0 0 .1em; font-weight: normal; }
h2 { font-size: 1.2em; margin: 1.9em 0 .5em; font-weight: bold; }
p { margin: .5em 0; }
.head { color: #444; margin: 0 0 1em; }
.verdict { border: 1px solid #1a1a1a; padding: .6em .9em; margin: 1em 0; }
.note { border-left: 3px solid #c1440e; padding: .2em 0 .2em .9em; margin: 1em 0; }
.scroll { overflow-x: auto; }
table { border-collapse: collapse; font-size: .87em; font-variant-numeric: tabular-nums; }
table.wide { width: 100%; }
th, td { padding: .28em .5em; text-align: right; vertical-align: top; border-bottom: 1px solid #ccc; white-space: nowrap; }
thead th { border-bottom: 1px solid #1a1a1a; border-top: 1px solid #1a1a1a; vertical-align: bottom; white-space: normal; }
tbody tr:last-child th, tbody tr:last-child td { border-bottom: 1px solid #1a1a1a; }
th { font-weight: normal; }
th[scope=row], td.word, th.word { text-align: left; }
.told { color: #555; font-size: .9em; }
.truth { font-style: italic; }
figure { margin: 1.2em 0 1.6em; break-inside: avoid; page-break-inside: avoid; }
figure svg { display: block; width: 100%; height: auto; }
figcaption { font-size: .87em; margin-top: .3em; }
table.settings { width: 100%; }
.settings th { width: 30%; white-space: normal; }
.settings td { white-space: normal; overflow-wrap: anywhere; }
ul { padding-left: 1.2em; }
.small { font-size: .87em; }
@media screen and (max-width: 640px) {
  figure { overflow-x: auto; }
  figure svg { width: 640px; }
}
@media print {
  body { max-width: none; padding: 0; font-size: 10pt; line-height: 1.35; }
  h2 { margin-top: 1.3em; }
  figure { margin: .6em 0 .8em; }
  th, td { padding-top: .2em; padding-bottom: .2em; }
  .scroll { overflow: visible; }
  h2 { break-after: avoid; page-break-after: avoid; }
  table, .verdict, .note { break-inside: avoid; page-break-inside: avoid; }
  thead { display: table-header-group; }
}
)";

namespace {

// Numbers the figures as they come.
struct Page
{
    std::string html;
    int figures = 0;

    void Heading(const std::string &text) { html += "<h2>" + HtmlEscape(text) + "</h2>\n"; }
    void Paragraph(const std::string &text) { html += "<p>" + HtmlEscape(text) + "</p>\n"; }
    void Table(const std::string &table) { html += "<div class=\"scroll\">" + table + "</div>\n"; }
    void Figure(const std::string &svg, const std::string &caption)
    {
        if (svg.empty()) return;
        ++figures;
        html += "<figure>\n" + svg + "<figcaption>Figure " + std::to_string(figures) + ". " +
                HtmlEscape(caption) + "</figcaption>\n</figure>\n";
    }
};

}  // namespace

static bool HasRuns(const PathData &path)
{
    for (const RunData &run : path.runs)
        if (run.isThere) return true;
    for (const ScanData &scan : path.scans)
        if (!scan.points.x.empty()) return true;
    return false;
}

static void AddSummary(Page &page, const CalibrationData &data, const CalibrationResults &results)
{
    page.html += "<div class=\"verdict\"><strong>Verdict.</strong> " +
                 HtmlEscape(OverallVerdict(data, results)) + "</div>\n";
    if (!data.remarks.empty()) {
        page.html += "<ul>\n";
        for (const std::string &remark : data.remarks)
            page.html += "<li>" + HtmlEscape(remark) + "</li>\n";
        page.html += "</ul>\n";
    }
    page.html += std::string("<div class=\"note\"><strong>Scale of the tables.</strong> ") +
                 HtmlEscape(kScaleWords) +
                 " Results below are in true SI units; a grey \u201ctold\u201d is what the "
                 "library's table holds.</div>\n";
}

static void AddTables(Page &page, const CalibrationData &data, const CalibrationResults &results)
{
    page.Heading("Stiffness K (pN/\u00b5m)");
    page.Table(StiffnessTable(data, results));
    page.html +=
        std::string("<p class=\"small\">Uncertainties are statistical, one standard "
                    "deviation, from the scatter of the segments; they leave out what is "
                    "common to all (temperature, viscosity, diameter, the stage's "
                    "amplitude). The mean is the weighted one of power spectrum and active, "
                    "which come from different runs; the others share their samples or "
                    "their \u03b2. pN/\u00b5m is \u00b5N/m.") +
        (data.truth.isKnown ? " An asterisk marks a result farther from the truth than "
                              "three uncertainties and 3 %."
                            : "") +
        "</p>\n";
    page.Heading("Sensitivity of the detectors \u03b2");
    page.Table(BetaTable(data, results));
    page.html +=
        "<p class=\"small\">The way that a whole unit of X/sum or Y/sum stands for, and one "
        "volt of the sum for z. The power spectrum's is worked out from its plateau and the "
        "drag of a sphere; the library has no such table.</p>\n";
    page.Heading("Runs");
    page.Table(RunTable(data, results));
}

static void AddFigures(Page &page, const CalibrationData &data, const CalibrationResults &results,
                       const ReportOptions &options, int path)
{
    const PathData &from = data.paths[path];
    const std::string name = path == 0 ? "Path A" : "Path B";
    page.Heading(name);
    page.Figure(
        MethodsFigure(data, results, path),
        name + ", stiffness by method, with one standard uncertainty. " +
            (data.truth.isKnown ? "Line: the truth." : "Dashed: the mean as in the table."));
    page.Figure(StillSpectraFigure(from, options.mostHertz),
                name +
                    ", run without oscillation: power spectra in blocks (dots), the fitted "
                    "Lorentzian within the range of the fit (line) and beyond it (dashed), the "
                    "corner frequency (dotted). Below: data over fit, with the standard error of "
                    "each block. The scale is the library's, twice the one-sided density.");
    page.Figure(OscillatingSpectraFigure(from, options.mostHertz),
                name +
                    ", runs with the stage oscillating along each axis: as before. The bin of the "
                    "oscillation is marked; it is no part of the fit.");
    page.Figure(PotentialFigure(from),
                name + ", histograms of the signals, and the potentials with the parabola within "
                       "the range of its fit.");
    page.Figure(PairFigure(from),
                name + ", two-dimensional histograms of the first two seconds. White: no sample.");
    page.Figure(ScanFigure(from), name + ", line scans of a bead that sticks to the glass: mean "
                                         "signal at each step with the fitted line, "
                                         "which starts behind the first step.");
}

static void AddNotes(Page &page)
{
    page.Heading("How the numbers come about");
    page.html +=
        "<ul class=\"small\">\n"
        "<li>Power spectrum: K = 2\u03c0 f<sub>c</sub> \u00b7 6\u03c0\u03b7r, with the corner "
        "frequency of the run without oscillation.</li>\n"
        "<li>Equipartition: K = kT / (\u03c3\u00b2 \u03b2\u00b2), with the variance of the first "
        "segment without oscillation.</li>\n"
        "<li>Potential: K = 2 kT a / \u03b2\u00b2, with the curvature a of the parabola.</li>\n"
        "<li>Active: \u03b2 from the power that the stage's known amplitude puts into one bin, K "
        "from "
        "\u03b2 and the Lorentzian.</li>\n"
        "<li>Line scan: \u03b2 is one over the slope.</li>\n"
        "<li>Power spectrum, equipartition and potential come from the same samples, and "
        "equipartition and potential share the active method\u2019s \u03b2 with it: their errors "
        "are not independent. Where there is no active \u03b2, that of the line scan is "
        "taken.</li>\n"
        "<li>Uncertainties: each result is worked out again with each segment left out in turn "
        "(jackknife); for equipartition from the scatter of the segments\u2019 variances; for the "
        "line scan from the scatter about the line. From ten segments an uncertainty is itself "
        "good "
        "to about a quarter.</li>\n"
        "<li>Methods are said to agree when no two of them lie farther apart than three of their "
        "joint uncertainties.</li>\n"
        "</ul>\n";
}

std::string ReportHtml(const CalibrationData &data, const CalibrationResults &results,
                       const ReportOptions &options)
{
    Page page;
    page.html =
        std::string("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                    "<meta name=\"viewport\" content=\"width=device-width, "
                    "initial-scale=1\">\n<link rel=\"icon\" href=\"data:,\">\n<title>") +
        "Force calibration: " + HtmlEscape(data.title) + "</title>\n<style>" + kStyle +
        "</style>\n</head>\n<body>\n<h1>Force calibration</h1>\n<p class=\"head\">" +
        HtmlEscape(data.title) + (data.recorded.empty() ? "" : "<br>" + HtmlEscape(data.recorded)) +
        "</p>\n";
    AddSummary(page, data, results);
    AddTables(page, data, results);
    for (int path = 0; path < kPaths; ++path)
        if (HasRuns(data.paths[path])) AddFigures(page, data, results, options, path);
    page.Heading("Settings");
    page.Table(SettingsTable(data));
    AddNotes(page);
    return page.html + "</body>\n</html>\n";
}

void WriteWhole(const std::string &path, const std::string &content)
{
    const std::string beside = path + ".part";
    FILE *file = std::fopen(beside.c_str(), "wb");
    if (file == nullptr)
        throw std::runtime_error("Cannot write " + path + " (" + std::strerror(errno) +
                                 "): name a file in a folder that can be written.");
    bool good = std::fwrite(content.data(), 1, content.size(), file) == content.size();
    good = std::fclose(file) == 0 && good;
    if (good && std::rename(beside.c_str(), path.c_str()) == 0) return;
    const std::string why = std::strerror(errno);
    (void)std::remove(beside.c_str());  // what is left of it is of no use
    throw std::runtime_error("Cannot write " + path + " (" + why + ").");
}
