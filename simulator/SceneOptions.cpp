// The table of a scene's numbers, and the check of a scene against it.
#include <simulator/SceneOptions.h>

#include <tools/Numbers.h>

namespace telvane {

namespace {

// Numbers of the scene itself, of a part of it, and of the entries of a list.
template <auto member> double& Real(WheelScene& s, std::size_t) { return s.*member; }
template <auto part, auto member> double& Real(WheelScene& s, std::size_t) { return s.*part.*member; }
template <auto list, auto member> double& RealOf(WheelScene& s, std::size_t i)
{
    return ((s.*list)[i]).*member;
}
template <auto member> int& Whole(WheelScene& s, std::size_t) { return s.*member; }
template <auto part, auto member> int& Whole(WheelScene& s, std::size_t) { return s.*part.*member; }
template <auto list, auto member> int& WholeOf(WheelScene& s, std::size_t i)
{
    return ((s.*list)[i]).*member;
}
template <auto list> int& Entry(WheelScene& s, std::size_t i) { return (s.*list)[i]; }
std::uint32_t& Seed(WheelScene& s, std::size_t) { return s.seed; }

template <auto list> std::size_t Count(const WheelScene& s) { return (s.*list).size(); }
template <auto list> void Resize(WheelScene& s, std::size_t size) { (s.*list).resize(size); }

/// Adds an item to a list in words.
void Append(std::string& list, const char* separator, const std::string& item)
{
    if (!list.empty()) list += separator;
    list += item;
}

const char wheel[] = "The wheel";
const char unkind[] = "What real machines show";

const double far = 100000; // pixels

} // namespace

const std::vector<SceneOption>& SceneOptions()
{
    static const std::vector<SceneOption> options = {
        {wheel,
         "--centre",
         {{"X", "pixels", -far, far, Real<&WheelScene::centreX>},
          {"Y", "pixels", -far, far, Real<&WheelScene::centreY>}},
         "centre of the wheel, at least 30 pixels within the picture"},
        {wheel, "--inner", {{"R", "pixels", 0, far, Real<&WheelScene::innerR>}}, "radius of the tooth roots"},
        {wheel, "--outer", {{"R", "pixels", 0, far, Real<&WheelScene::outerR>}}, "radius of the tooth tips"},
        {wheel, "--teeth", {{"N", "teeth", 1, 1000, Whole<&WheelScene::teeth>}}, "number of teeth"},
        {wheel,
         "--speed",
         {{"D", "degrees", -360, 360, Real<&WheelScene::degreesPerFrame>}},
         "turn per camera frame, positive clockwise"},
        {wheel,
         "--start",
         {{"D", "degrees", -360, 360, Real<&WheelScene::startAngle>}},
         "angle of one tooth in camera frame 0, from +x clockwise"},
        {wheel,
         "--spokes",
         {{"N", "spokes", 0, 100, Whole<&WheelScene::spokes>}},
         "number of spokes; 0: no windows"},
        {wheel,
         "--hub",
         {{"R", "pixels", 0, far, Real<&WheelScene::hubR>}},
         "radius of the hub, up to the inner radius; 0: none",
         "inner * 60 / 216"},
        {wheel,
         "--uneven",
         {{"A", "", 0, 1, Real<&WheelScene::uneven>}},
         "share of the light that is lost towards the lower right"},
        {wheel,
         "--noise",
         {{"S", "grey levels", 0, 100, Real<&WheelScene::noise>}},
         "standard deviation of the read noise"},
        {wheel, "--seed", {{"N", "", 0, 4294967295.0, Seed}}, "seed of the noise and the hot pixels"},
        {wheel,
         "--disc",
         {{"X", "pixels", -far, far, Real<&WheelScene::disc, &WheelDisc::x>},
          {"Y", "pixels", -far, far, Real<&WheelScene::disc, &WheelDisc::y>},
          {"R", "pixels", 0, far, Real<&WheelScene::disc, &WheelDisc::radius>},
          {"DX", "pixels", -1000, 1000, Real<&WheelScene::disc, &WheelDisc::dx>},
          {"DY", "pixels", -1000, 1000, Real<&WheelScene::disc, &WheelDisc::dy>}},
         "a striped disc of radius R that starts at X,Y, moves by DX,DY per camera frame and turns back "
         "after 20",
         "none"},

        {unkind,
         "--tilt",
         {{"ANGLE", "degrees", 0, 60, Real<&WheelScene::tilt>},
          {"DIRECTION", "degrees", -360, 360, Real<&WheelScene::tiltDirection>}},
         "the axis leans by ANGLE; the side of the wheel in DIRECTION lies further away"},
        {unkind,
         "--distance",
         {{"D", "pixels", 0, 10 * far, Real<&WheelScene::distance>}},
         "from the lens to the wheel's centre, at least twice the outer radius; 0: infinitely far"},
        {unkind,
         "--thickness",
         {{"T", "pixels", 0, 1000, Real<&WheelScene::thickness>}},
         "of the wheel, away from the camera; side walls show where the sight is slanting"},
        {unkind,
         "--eccentric",
         {{"E", "pixels", 0, 1000, Real<&WheelScene::eccentricity>},
          {"DIRECTION", "degrees", -360, 360, Real<&WheelScene::eccentricDirection>}},
         "the ring's centre lies E off the axis, in DIRECTION in camera frame 0, and turns with the wheel"},
        {unkind,
         "--lens",
         {{"K1", "", -0.1, 0.5, Real<&WheelScene::lens>}},
         "radial distortion: x becomes x (1 + K1 r^2), r in half diagonals from the middle"},
        {unkind,
         "--vignette",
         {{"V", "", 0, 1, Real<&WheelScene::vignette>}},
         "light falls to 1 - V r^2, r in half diagonals from the middle"},
        {unkind,
         "--highlight",
         {{"X", "pixels", -far, far, Real<&WheelScene::highlight, &WheelSpot::x>},
          {"Y", "pixels", -far, far, Real<&WheelScene::highlight, &WheelSpot::y>},
          {"R", "pixels", 0, far, Real<&WheelScene::highlight, &WheelSpot::radius>},
          {"G", "grey levels", 0, 255, Real<&WheelScene::highlight, &WheelSpot::strength>}},
         "a bright place of radius R that stays; bright metal gains G levels in its middle",
         "none"},
        {unkind,
         "--shadow",
         {{"X", "pixels", -far, far, Real<&WheelScene::shadow, &WheelSpot::x>},
          {"Y", "pixels", -far, far, Real<&WheelScene::shadow, &WheelSpot::y>},
          {"R", "pixels", 0, far, Real<&WheelScene::shadow, &WheelSpot::radius>},
          {"A", "", 0, 1, Real<&WheelScene::shadow, &WheelSpot::strength>}},
         "a dark place of radius R that stays; the share A of the light is lost in its middle",
         "none"},
        {unkind,
         "--flicker",
         {{"A", "", 0, 1, Real<&WheelScene::flicker>},
          {"P", "camera frames", 1, 1000, Real<&WheelScene::flickerPeriod>}},
         "all light changes by the share A, up and down, as a sine wave of period P",
         "none"},
        {unkind,
         "--gain",
         {{"F", "", 0.01, 100, Real<&WheelScene::gain>}},
         "factor of all light: below 1 the picture is underexposed, above 1 overexposed"},
        {unkind,
         "--exposure",
         {{"E", "", 0, 1, Real<&WheelScene::exposure>}},
         "share of the frame time during which the shutter is open: motion blur"},
        {unkind,
         "--rolling",
         {{"E", "", 0, 1, Real<&WheelScene::rolling>}},
         "share of the frame time from the exposure of the first row to that of the last"},
        {unkind,
         "--fullwell",
         {{"N", "electrons", 0, 10 * far, Real<&WheelScene::fullWell>}},
         "electrons of a white pixel: shot noise; 0: none"},
        {unkind,
         "--rownoise",
         {{"S", "grey levels", 0, 100, Real<&WheelScene::rowNoise>}},
         "standard deviation of noise that a row has in common"},
        {unkind,
         "--hot",
         {{"N", "pixels", 0, 100000, Whole<&WheelScene::hotPixels>}},
         "pixels that are always white"},
        {unkind,
         "--ramp",
         {{"D", "degrees", -10, 10, Real<&WheelScene::ramp>}},
         "by which the turn per camera frame grows from one camera frame to the next"},
        {unkind,
         "--jerk",
         {{"FRAME", "", 0, 2000000, WholeOf<&WheelScene::jerks, &WheelJerk::frame>},
          {"D", "degrees", -360, 360, RealOf<&WheelScene::jerks, &WheelJerk::degrees>}},
         "from camera frame FRAME on the wheel is D further; several by FRAME,D,FRAME,D,...",
         "none",
         20,
         Count<&WheelScene::jerks>,
         Resize<&WheelScene::jerks>},
        {unkind,
         "--push",
         {{"FRAME", "", 0, 2000000, Whole<&WheelScene::push, &WheelPush::frame>},
          {"DX", "pixels", -100, 100, Real<&WheelScene::push, &WheelPush::dx>},
          {"DY", "pixels", -100, 100, Real<&WheelScene::push, &WheelPush::dy>}},
         "from camera frame FRAME on the whole picture is shifted by DX,DY",
         "none"},
        {unkind,
         "--repeat",
         {{"FRAME", "", 0, 2000000, Entry<&WheelScene::repeated>}},
         "in place of camera frame FRAME the one before comes once more; several by FRAME,FRAME,...",
         "none",
         100,
         Count<&WheelScene::repeated>,
         Resize<&WheelScene::repeated>},
        {unkind,
         "--lose",
         {{"FRAME", "", 0, 2000000, Entry<&WheelScene::lost>}},
         "camera frame FRAME never comes, the next takes its place; several by FRAME,FRAME,...",
         "none",
         100,
         Count<&WheelScene::lost>,
         Resize<&WheelScene::lost>},
        {unkind,
         "--scratches",
         {{"N", "scratches", 0, 200, Whole<&WheelScene::scratches>}},
         "bright scratches on the wheel's face; they turn with it"},
        {unkind,
         "--dirt",
         {{"N", "spots", 0, 200, Whole<&WheelScene::dirt>}},
         "dark spots on the wheel's face; they turn with it"},
        {unkind,
         "--texture",
         {{"G", "grey levels", 0, 50, Real<&WheelScene::texture>}},
         "the backdrop has a texture, which stays, of at most G levels up and down"},
    };
    return options;
}

double Quantity::Of(const WheelScene& scene, std::size_t index) const
{
    WheelScene copy = scene; // the places are made for changing
    return std::visit([&](auto at) { return static_cast<double>(at(copy, index)); }, place);
}

std::string Quantity::Limits() const
{
    std::string text = Whole() ? "a whole " : "";
    text.append(name).append(" from ").append(NumberText(lowest)).append(" to ").append(NumberText(highest));
    if (*unit) text.append(" ").append(unit);
    return text;
}

std::string SceneOption::Words() const
{
    std::string text;
    for (const Quantity& quantity : quantities) Append(text, ",", quantity.name);
    return List() ? text + "[,...]" : text;
}

std::string SceneOption::Limits() const
{
    std::string text;
    for (const Quantity& quantity : quantities) Append(text, ", ", quantity.Limits());
    return text;
}

std::string SceneOption::Numbers(const WheelScene& scene) const
{
    std::string text;
    for (std::size_t i = 0; i < Entries(scene); i++)
        for (const Quantity& quantity : quantities) Append(text, ",", NumberText(quantity.Of(scene, i)));
    return text;
}

std::string WheelProblem(const WheelScene& s)
{
    for (const SceneOption& option : SceneOptions()) {
        if (option.Entries(s) > option.most)
            return std::string(option.name) + " takes at most " + std::to_string(option.most) + " entries";
        for (std::size_t i = 0; i < option.Entries(s); i++)
            for (const Quantity& quantity : option.quantities)
                if (!quantity.Fits(quantity.Of(s, i)))
                    return std::string(option.name) + " takes " + option.Limits() + ", not " +
                           option.Numbers(s);
    }
    // What no option sets.
    if (s.width < 1 || s.width > 4096 || s.height < 1 || s.height > 4096)
        return "the frame must be 1 to 4096 pixels wide and high";
    if (s.disc.travel < 1 || s.disc.travel > 10000)
        return "the disc must turn back after 1 to 10000 camera frames";
    if (!(s.disc.stripe >= 1 && s.disc.stripe <= 1000))
        return "the disc's stripes must be 1 to 1000 pixels wide";
    // What goes together.
    if (!(s.innerR < s.outerR))
        return "--inner must lie below --outer, not " + NumberText(s.innerR) + " and " + NumberText(s.outerR);
    if (!(s.hubR <= s.innerR))
        return "--hub must lie between 0 and the inner radius, " + NumberText(s.innerR) + ", not " +
               NumberText(s.hubR);
    const double least = 2 * (s.outerR + s.eccentricity);
    if (s.distance > 0 && s.distance < least)
        return "--distance must be 0, or at least twice the outer radius with the eccentricity, " +
               NumberText(least) + " pixels, not " + NumberText(s.distance);
    return "";
}

} // namespace telvane
