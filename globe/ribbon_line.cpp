#include "globe/ribbon_line.h"

#include <algorithm>
#include <map>
#include <osg/Program>
#include <osg/Shader>
#include <osg/Uniform>
#include <osgUtil/CullVisitor>

#include "globe/mark_state.h"

namespace globe {

namespace {

constexpr std::size_t kChunkPoints = 512;
// Single precision tells a centimetre at this distance from the origin.
constexpr double kChunkReach_m = 100000.0;
constexpr double kThinnest_px = 1.5;
constexpr double kMetresOnly = 0.0;

// globe_line: half the width in metres, half the least width in pixels (in units where the display's pixels
// are finer). globe_half_height: half the viewport's height in the same.
const char* const kVertexShader = R"(#version 120
uniform vec2 globe_line;
uniform float globe_half_height;
void main() {
    vec4 at = gl_ModelViewMatrix * gl_Vertex;
    mat3 turn = mat3(gl_ModelViewMatrix);
    bool parallel = gl_ProjectionMatrix[2][3] == 0.0;
    vec3 sight = parallel ? vec3(0.0, 0.0, -1.0) : normalize(at.xyz);
    vec3 from = turn * gl_MultiTexCoord0.xyz;
    vec3 to = turn * gl_MultiTexCoord1.xyz;
    vec3 a = cross(from, sight);
    vec3 b = cross(to, sight);
    float la = length(a);
    float lb = length(b);
    a = la > 0.0 ? a / la : vec3(0.0);
    b = lb > 0.0 ? b / lb : a;
    a = la > 0.0 ? a : b;
    vec3 across = a + b;
    float l = length(across);
    across = l > 0.2 ? across / l : a;
    float pixel = (parallel ? 1.0 : max(-at.z, 0.0)) / (gl_ProjectionMatrix[1][1] * globe_half_height);
    float reach = max(globe_line.x, globe_line.y * pixel) / max(dot(across, a), 0.5);
    // The ends of the line: what is shorter than a pixel would fall between them.
    bool first = from == vec3(0.0);
    bool last = to == vec3(0.0);
    if (first != last) {
        at.xyz += normalize(first ? -to : from) * (globe_line.y * pixel);
    }
    at.xyz += across * (gl_MultiTexCoord0.w * reach);
    gl_Position = gl_ProjectionMatrix * at;
    gl_FrontColor = gl_Color;
    gl_BackColor = gl_Color;
}
)";

const char* const kFragmentShader = R"(#version 120
void main() { gl_FragColor = gl_Color; }
)";

osg::Program* ribbonProgram() {
    static osg::Program* const program = [] {
        osg::ref_ptr<osg::Program> made = new osg::Program;
        made->setName("ribbon");
        made->addShader(new osg::Shader(osg::Shader::VERTEX, kVertexShader));
        made->addShader(new osg::Shader(osg::Shader::FRAGMENT, kFragmentShader));
        return keptForGood(made);
    }();
    return program;
}

// One for each height of a viewport, so that cameras of several heights can draw the same line in one frame.
osg::StateSet* stateForHeight(int height) {
    static auto& states = *new std::map<int, osg::ref_ptr<osg::StateSet>>;
    osg::ref_ptr<osg::StateSet>& state = states[height];
    if (!state) {
        state = new osg::StateSet;
        state->addUniform(
            new osg::Uniform("globe_half_height", 0.5f * static_cast<float>(std::max(height, 1))));
    }
    return state;
}

}  // namespace

RibbonLine::RibbonLine(const Stroke& stroke) : m_color(stroke.color()) {
    const bool metres = stroke.widthUnits() == Units::METERS;
    m_half_width_m = metres ? stroke.width() * 0.5 : kMetresOnly;
    const double least_px = metres ? kThinnest_px : std::max(stroke.width(), kThinnest_px);
    osg::ref_ptr<osg::StateSet> state = plainState();
    state->setAttributeAndModes(ribbonProgram(), osg::StateAttribute::ON | osg::StateAttribute::PROTECTED);
    state->addUniform(new osg::Uniform(
        "globe_line", osg::Vec2f(static_cast<float>(m_half_width_m), static_cast<float>(least_px * 0.5))));
    setStateSet(state);
    setCullingActive(false);
}

void RibbonLine::append(const osg::Vec3d& world) {
    if (!world.valid()) {
        return;
    }
    std::vector<osg::Vec3d>& points = m_open.points;
    if (points.empty()) {
        m_open.before = world;
    } else if (points.size() >= kChunkPoints || (world - points.front()).length() > kChunkReach_m) {
        finishChunk(world);
    }
    points.push_back(world);
}

void RibbonLine::finishChunk(const osg::Vec3d& after) {
    std::vector<osg::Vec3d>& points = m_open.points;
    if (points.size() < 2) {
        return;
    }
    m_open.after = after;
    const osg::ref_ptr<LineChunk> chunk = new LineChunk(m_open, m_color, m_half_width_m, true);
    if (m_open_node) {
        removeChild(m_open_node);
        m_open_node = nullptr;
    }
    addChild(chunk);
    // The last point goes on as the first of the next piece.
    m_open.before = points[points.size() - 2];
    points = {points.back()};
}

void RibbonLine::update() {
    if (m_open_node) {
        removeChild(m_open_node);
        m_open_node = nullptr;
    }
    if (m_open.points.size() < 2) {
        return;
    }
    m_open.after = m_open.points.back();
    m_open_node = new LineChunk(m_open, m_color, m_half_width_m, false);
    addChild(m_open_node);
}

void RibbonLine::traverse(osg::NodeVisitor& visitor) {
    osgUtil::CullVisitor* cull = visitor.asCullVisitor();
    if (cull == nullptr) {
        osg::Group::traverse(visitor);
        return;
    }
    const SmallThingsShown all(*cull);
    const osg::Viewport* viewport = cull->getViewport();
    cull->pushStateSet(
        stateForHeight(viewport != nullptr ? static_cast<int>(viewport->height() / pixelRatioOf(*cull)) : 1));
    osg::Group::traverse(visitor);
    cull->popStateSet();
}

}  // namespace globe
