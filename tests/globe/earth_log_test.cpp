// What nobody knows in an earth file is told in the log, a line each, and is no problem of the map.
#include <gtest/gtest.h>

#include <osg/Notify>
#include <osg/ref_ptr>
#include <sstream>
#include <string>
#include <vector>

#include "globe/earth_file.h"
#include "tests/globe/made_data.h"

namespace globe {
namespace {

class Heard : public osg::NotifyHandler {
public:
    // Messages come in pieces.
    void notify(osg::NotifySeverity, const char* message) override { m_text += message; }
    std::vector<std::string> lines() const {
        std::vector<std::string> found;
        std::istringstream text(m_text);
        for (std::string line; std::getline(text, line);) {
            found.push_back(line);
        }
        return found;
    }

private:
    std::string m_text;
};

TEST(EarthLog, UnknownElementsAreALineEach) {
    globe_test::Folder folder;
    folder.write("a.tif", "");
    const osg::ref_ptr<osg::NotifyHandler> before = osg::getNotifyHandler();
    const osg::ref_ptr<Heard> heard = new Heard;
    osg::setNotifyHandler(heard);
    const EarthModel model = parseEarth(
        "<map><options><terrain/><weather/></options><image name='a'><url>a.tif</url><hue/></image>"
        "<banana><inside/><inside/></banana></map>",
        folder.path());
    osg::setNotifyHandler(before);
    EXPECT_TRUE(model.problems.empty());
    EXPECT_EQ(model.layers.size(), 1u);
    const std::vector<std::string> lines = heard->lines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_NE(lines[0].find("weather"), std::string::npos);
    EXPECT_NE(lines[1].find("hue"), std::string::npos);
    EXPECT_NE(lines[1].find("layer a"), std::string::npos);
    EXPECT_NE(lines[2].find("banana"), std::string::npos);
}

}  // namespace
}  // namespace globe
