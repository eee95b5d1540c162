// The sky: space, the air, the sun and its light.
#pragma once

#include <osg/Group>
#include <osg/Light>
#include <osg/View>
#include <osg/ref_ptr>

#include "globe/date_time.h"
#include "globe/ephemeris.h"
#include "globe/globe_config.h"

namespace globe {

class SkyOptions {
public:
    // "ambient": 0 .. 1.
    explicit SkyOptions(const Config& config = Config());
    float& ambient() { return m_ambient; }
    float ambient() const { return m_ambient; }

private:
    float m_ambient = 0.03f;
};

// Put above a map node, it lights what is below it from where the sun stands at the moment that was set; the
// sun then stays there. In the view that it is attached to it draws dark space with the sun, and over it the
// air.
class SkyNode : public osg::Group {
public:
    static SkyNode* create(const SkyOptions& options = SkyOptions());

    // Takes effect with the next setDateTime. Kept; null is ignored.
    void setEphemeris(Ephemeris* ephemeris);
    Ephemeris* getEphemeris() const { return m_ephemeris.get(); }
    void setDateTime(const DateTime& moment);
    const DateTime& getDateTime() const { return m_moment; }
    // Earth-fixed, of length 1.
    const osg::Vec3d& sunDirection() const { return m_sun_direction; }

    // Gives the view its light, with that number of the graphics library's lights.
    void attach(osg::View* view, int light_number = 0);
    osg::Light* getSunLight() const { return m_light.get(); }
    // Whether what is below is lit at all.
    void setLighting(bool on);
    void setSunVisible(bool visible) { m_sun_visible = visible; }
    void setAtmosphereVisible(bool visible) { m_air_visible = visible; }

    void traverse(osg::NodeVisitor& visitor) override;

protected:
    explicit SkyNode(const SkyOptions& options);
    ~SkyNode() override;

private:
    class Dome;

    osg::ref_ptr<Ephemeris> m_ephemeris;
    DateTime m_moment;
    osg::Vec3d m_sun_direction{1.0, 0.0, 0.0};
    osg::ref_ptr<osg::Light> m_light;
    osg::ref_ptr<Dome> m_dome;
    bool m_sun_visible = true;
    bool m_air_visible = true;
};

}  // namespace globe
