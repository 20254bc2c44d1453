// A judgement as a document for machines.
#ifndef REPORT_DOCUMENT_H
#define REPORT_DOCUMENT_H

#include <diagnosis/Diagnosis.h>

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace telvane {

/// `verdict`, `evidence`, `cure`, `remarks`, `diagnosis` and `proposal`; null where something is not known.
/// The arguments of the proposal are named as the options of telvane-run.
nlohmann::ordered_json JudgementJson(const Diagnosis& diagnosis);

/// The arguments of a run, named as the options of telvane-run; null where one is not given.
nlohmann::ordered_json ArgumentsJson(const RunArguments& arguments);

/// A document as text that ends with a newline. Bytes that are no UTF-8 become U+FFFD.
std::string DocumentText(const nlohmann::ordered_json& document);

} // namespace telvane

#endif
