// The aircraft's model: a twin-boom fixed wing with a pusher propeller and a gimbal under its nose.
#pragma once

#include <osg/Group>
#include <osg/ref_ptr>

namespace earth {

// Metres, true size (2.6 m from tip to tip); the nose points to +Y (north at heading 0), Z is up, the origin
// lies in the fuselage. The airframe has no material, so that it takes the colour of what it hangs under;
// propeller and gimbal have their own.
osg::ref_ptr<osg::Group> makeDrone();

}  // namespace earth
