// What the page shows and does: the wheel that is set up, measuring, trying, keeping.
#ifndef SETUP_SESSION_H
#define SETUP_SESSION_H

#include <setup/Film.h>
#include <setup/Wheel.h>

#include <nlohmann/json.hpp>

#include <mutex>
#include <string>
#include <thread>

namespace telvane {

/// Every member may be called from any thread, and none of them waits for the camera or for a program.
class Session {
public:
    /// \param config   the file that Keep writes; empty: none
    /// \param program  telvane-run
    Session(Film& film, Wheel wheel, std::string config, std::string program);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session(); ///< waits for what is under way; stop the film before

    /// Camera, figures, what is under way, and how often there was a result of measuring and of trying.
    nlohmann::ordered_json State() const;

    /// The wheel, its command lines, and what is missing for a run.
    nlohmann::ordered_json WheelState() const;
    /// \return nothing, or what is wrong
    std::string SetWheel(const nlohmann::ordered_json& json);

    /// Begins to take a sequence and to measure what moves. \return nothing, or why not now
    std::string Measure();
    nlohmann::ordered_json Measured() const; ///< the last result; null before

    /// Begins to take a sequence and to run telvane-run on it. \return nothing, or why not now
    std::string Try();
    nlohmann::ordered_json Tried() const; ///< the last result; null before
    std::string Report() const;           ///< its page; empty: there is none

    /// \param toml  becomes the text of wheel.toml. \return nothing, or what is missing for a run
    std::string Toml(std::string& toml) const;
    /// Writes the file of --config. \return nothing, or what is missing or went wrong
    std::string Keep();
    const std::string& ConfigName() const { return config; }

    void ForgetBest() { film.ForgetBest(); }

    /// Whether something is under way.
    bool Busy() const;

private:
    using Json = nlohmann::ordered_json;

    std::string Begin(const char* what);
    void EndMeasure(const Json& result);
    struct Trial {
        Json json;
        std::string page;
    };
    Trial RunTrial(const Request& run, const std::string& toml);
    void EndTrial(Trial result);

    Film& film;
    const std::string config, program;
    std::mutex keeping; // one file is written at a time
    mutable std::mutex mutex;
    // All below belongs to the mutex.
    Wheel wheel;
    std::string job; ///< "measure", "try" or nothing
    int measuredCount = 0, triedCount = 0;
    Json measured, tried;
    std::string report;
    std::thread trial;
};

} // namespace telvane

#endif
