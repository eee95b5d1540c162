#include "map/Compass/compass.h"

#include <QtGlobal>
#include <cassert>
#include <cmath>
#include <osgDB/ReadFile>

#include "globe/earth_manipulator.h"
#include "map/camera_rules.h"

using globe::Control;
using globe::ImageControl;
using globe::LabelControl;

namespace {

constexpr double kDegrees = 57.29577951308232;

// The face's corner is the view's; what stands over it is placed by shares of the face's height.
void placeLowerRight(Control& control) {
    control.setAbsorbEvents(false);
    control.setHorizAlign(Control::ALIGN_RIGHT);
    control.setVertAlign(Control::ALIGN_BOTTOM);
}

void placeOverFace(LabelControl& label, int height, double bottom, double right) {
    placeLowerRight(label);
    label.setPadding(Control::SIDE_BOTTOM, static_cast<float>(height * bottom));
    label.setPadding(Control::SIDE_RIGHT, static_cast<float>(height * right));
}

[[maybe_unused]] bool areEqual(double a, double b) { return std::fabs(a - b) <= 1e-6; }

}  // namespace

Compass::Compass(const std::string& image_path, globe::ControlCanvas* canvas) : canvas_(canvas) {
    osg::ref_ptr<osg::Image> face = osgDB::readRefImageFile(image_path);
    if (!face.valid()) {
        return;
    }
    const int h = face->t();
    compass_ = new ImageControl(face.get());
    compass_->setName("Compass Image");
    compass_->setFixSizeForRotation(true);
    placeLowerRight(*compass_);
    const auto f = static_cast<float>(static_cast<int>(h * 0.12));
    readout_ = new LabelControl("0.0", f, osg::Vec4f(1, 1, 1, 1));
    readout_->setName("Compass Readout");
    readout_->setHaloColor(osg::Vec4f(0, 0, 0, 1));
    placeOverFace(*readout_, h, 0.79, 0.53);
    pointer_ = new LabelControl("|", f, osg::Vec4f(1, 0, 0, 1));
    pointer_->setName("Compass Pointer");
    placeOverFace(*pointer_, h, 0.99, 0.685);
    frameHandler_ = new FrameEventHandler(this);
}

Compass::~Compass() {
    osg::ref_ptr<osgViewer::View> view;
    if (drawView_.lock(view) && frameHandler_.valid()) {
        view->removeEventHandler(frameHandler_.get());
    }
}

void Compass::set_view(osgViewer::View* view) {
    if (!compass_.valid()) {
        return;
    }
    if (view != nullptr) {
        assert(!drawView_.valid());
        if (drawView_.valid()) {
            return;
        }
        drawView_ = view;
        canvas_->addControl(compass_.get());
        canvas_->addControl(readout_.get());
        canvas_->addControl(pointer_.get());
        view->addEventHandler(frameHandler_.get());
    } else if (drawView_.valid()) {
        canvas_->removeControl(compass_.get());
        canvas_->removeControl(readout_.get());
        canvas_->removeControl(pointer_.get());
        drawView_->removeEventHandler(frameHandler_.get());
        drawView_ = nullptr;
    }
}

void Compass::set_heading_view(osgViewer::View* view) { view_ = view; }

void Compass::set_callback(HeadingCallback* callback) { callback_ = callback; }

void Compass::clear_callback(HeadingCallback* callback) {
    if (callback_ == callback) {
        callback_ = nullptr;
    }
}

int Compass::image_height() const {
    return compass_.valid() && compass_->getImage() != nullptr ? compass_->getImage()->t() : 0;
}

bool Compass::FrameEventHandler::handle(const osgGA::GUIEventAdapter& ea, osgGA::GUIActionAdapter& /*aa*/) {
    if (ea.getEventType() == osgGA::GUIEventAdapter::FRAME) {
        m_compass->update();
    }
    return false;
}

double Compass::heading() const {
    const auto* camera = dynamic_cast<const globe::EarthManipulator*>(view_->getCameraManipulator());
    if (camera == nullptr) {
        return 0.0;  // a camera without a heading looks north
    }
    double heading = 0.0;
    camera->getCompositeEulerAngles(&heading, nullptr);
    return heading * kDegrees;
}

void Compass::turnFace(double heading_deg) {
    if (!sorvane::faceTurns(compass_->getRotation(), heading_deg)) {
        return;
    }
    compass_->setRotation(-heading_deg);
#ifndef NDEBUG
    if (!areEqual(compass_->getRotation(), -heading_deg)) {
        qt_assert("areEqual(compass_->getRotation().as(osgEarth::Units::DEGREES), -heading)", __FILE__,
                  __LINE__);
    }
#endif
}

void Compass::update() {
    if (!drawView_.valid()) {
        return;
    }
    if (!view_.valid()) {
        view_ = drawView_;
    }
    const double heading_deg = sorvane::compassHeading(heading());
    if (compass_.valid()) {
        turnFace(heading_deg);
    }
    if (readout_.valid() && readout_->visible()) {
        const std::string text = sorvane::headingText(heading_deg);
        if (!text.empty() && text != readout_->text()) {
            readout_->setText(text);
        }
    }
    if (callback_.valid()) {
        (*callback_)(heading_deg);
    }
}
