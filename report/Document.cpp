// Names and order of what the document holds.
#include <report/Document.h>

#include <nlohmann/json.hpp>

namespace telvane {

using Json = nlohmann::ordered_json;

namespace {

template <class T> Json OrNull(const std::optional<T>& value) { return value ? Json(*value) : Json(); }

Json OrNull(const std::optional<Place>& place) { return place ? Json::array({place->x, place->y}) : Json(); }

Json OrNull(const std::optional<Sense>& sense) { return sense ? Json(Name(*sense)) : Json(); }

Json OrNull(const std::string& text) { return text.empty() ? Json() : Json(text); }

Json Measured(const Diagnosis& d)
{
    Json json;
    json["centre"] = OrNull(d.centre);
    json["centre_sigma"] = OrNull(d.sigma);
    json["centre_limit"] = OrNull(d.limit);
    json["sense"] = OrNull(d.sense);
    json["ring"] = d.ring ? Json::array({d.ring->inner, d.ring->outer}) : Json();
    json["teeth"] = OrNull(d.teeth);
    json["degrees_per_frame"] = OrNull(d.degreesPerFrame);
    json["explained"] = OrNull(d.explained);
    json["elsewhere"] = OrNull(d.elsewhere);
    return json;
}

} // namespace

Json ArgumentsJson(const RunArguments& a)
{
    const bool votes = a.HowSearched() == Method::votes;
    Json masks = Json::array();
    for (const Region& m : a.masks) masks.push_back(Json::array({m.left, m.top, m.width, m.height}));

    Json json;
    json["inner"] = a.innerR;
    json["outer"] = a.outerR;
    json["teeth"] = a.teeth > 0 ? Json(a.teeth) : Json();
    json["count"] = a.count;
    json["p1"] = a.period1;
    json["p2"] = a.period2;
    json["region"] = Json::array({a.width, a.height});
    json["centre-in-region"] = Json::array({a.centreX, a.centreY});
    json["method"] = Name(a.HowSearched());
    json["offset"] = votes ? Json(a.offset) : Json();
    json["sense"] = OrNull(a.Told());
    json["angles"] = Json::array({a.angle1, a.angle2});
    json["mask"] = masks;
    json["background"] = a.background < 0 ? Json(-static_cast<std::int64_t>(a.background)) : Json();
    return json;
}

Json JudgementJson(const Diagnosis& d)
{
    Json json;
    json["verdict"] = Name(d.verdict);
    json["evidence"] = OrNull(d.evidence);
    json["cure"] = OrNull(d.cure);
    json["remarks"] = d.remarks;
    json["diagnosis"] = Measured(d);
    json["proposal"] = Json();
    if (d.proposal) {
        json["proposal"]["arguments"] = ArgumentsJson(d.proposal->arguments);
        json["proposal"]["command"] = d.proposal->arguments.CommandLine();
    }
    return json;
}

std::string DocumentText(const Json& document)
{
    // In ASCII: among other letters there are some that a terminal obeys.
    return document.dump(2, ' ', true, Json::error_handler_t::replace) + "\n";
}

} // namespace telvane
