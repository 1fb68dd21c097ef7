// A library that is linked as the delivered one is: what it exports tells what the version script
// lets through, whatever the compiler has left to be exported in the engine.
#define PROBE_EXPORT [[gnu::visibility("default")]]

extern "C" {
PROBE_EXPORT int corebeacon_probe();
PROBE_EXPORT int OtherProbe();
}

namespace corebeacon {

class PROBE_EXPORT Promised {
public:
    virtual ~Promised();
    int Get() const;
};

PROBE_EXPORT int Function();

Promised::~Promised() = default;

int Promised::Get() const {
    return 1;
}

int Function() {
    return 2;
}

}  // namespace corebeacon

/// Stands for a library of templates that the engine's types are put into.
namespace templates {

template <typename Type>
PROBE_EXPORT Type* Result(Type* value) {
    return value;
}

template <typename Type>
struct PROBE_EXPORT Holder {
    Type* Get(Type* value) { return value; }
};

template corebeacon::Promised* Result(corebeacon::Promised*);
template struct Holder<corebeacon::Promised>;

}  // namespace templates

int corebeacon_probe() {
    return 3;
}

int OtherProbe() {
    return 4;
}
