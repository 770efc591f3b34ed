// An integrator's first program, built against an installed vxkd: it starts the library,
// reads the dataset named on its command line and prints its property definitions, one per
// line: id, name, type, unit, description, separated by tabs.

#include <vxkd/dataset/project.h>
#include <vxkd/foundation/startup.h>
#include <vxkd/platform/host.h>
#include <vxkd/platform/version.h>

#include <cstdio>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: consumer FILE.vkd\n");
    return 2;
  }
  if (vxkdui_version_nmb() != VXKD_VERSION_NUMBER) {
    std::fprintf(stderr, "consumer: built for vxkd %s, runs with %d\n", VXKD_VERSION_TEXT,
                 vxkdui_version_nmb());
    return 1;
  }
  // The language texts come from the installed data folder: false when they were not found.
  if (!VxKd::initVxKd()) return 1;
  std::printf("data folder\t%s\n", VxKd::programFolder().toUtf8().c_str());

  CKdProject project;
  if (!project.readDb(nullptr, CWsz::fromUtf8(argv[1]))) return 1;
  const CKdPropertyDefArray& defs = project.propertyDefs();
  for (int i = 0; i < defs.length(); ++i) {
    const CKdPropertyDef* def = defs.objAt(i);
    CWsz type, unit;
    CKdPropertyValue::getTypeNameOf(def->valueType(), type);
    def->unit().getLabel(unit);
    std::printf("%ld\t%s\t%s\t%s\t%s\n", def->dbId(), def->name().toUtf8().c_str(),
                type.toUtf8().c_str(), unit.toUtf8().c_str(), def->desc().toUtf8().c_str());
  }
  VxKd::exitVxKd();
  return 0;
}
