// A film that does not run, and nothing that judges its frames: for what is asked of the setup page.
#include <diagnosis/Diagnosis.h>
#include <setup/Film.h>

namespace telvane {

Film::~Film() = default;
FilmState Film::State() const { return {}; }
void Film::Look(const Circles&) {}
void Film::ForgetBest() {}
bool Film::Take(Order) { return false; }

Diagnosis Diagnose(const RunSeen&) { return {}; }
const char* Name(Verdict) { return ""; }

} // namespace telvane
