#include "public/host_log.h"

#include <memory>

using namespace engine;
using strings = std::vector<std::string>;

namespace {

class host_body : public CScriptBody {
public:
    host_body() : CScriptBody("App", "Script") {}

    void object_begin(const char* /*name*/, EObjectType /*type*/,
                      CScriptArguments* /*arguments*/) override {}

    void object_property(const char* /*key*/, const char* /*value*/) override {}

    void object_function(EFunctionType /*type*/, CScriptArguments* /*arguments*/) override {}

    void object_end() override {}

    void global_function(EFunctionType /*type*/, CScriptArguments* /*arguments*/) override {}
};

struct host_value : CScriptArgumentCallbackOf<host_value> {
    void set_int(long long value) override { number = value; }

    long long number = 0;
};

} // namespace

TEST(HostClasses, TypesCrossTheBoundary) {
    const std::unique_ptr<CScriptSection> body = std::make_unique<host_body>();
    EXPECT_NE(dynamic_cast<CScriptBody*>(body.get()), nullptr);
    EXPECT_EQ(dynamic_cast<CScriptInclude*>(body.get()), nullptr);
    const std::unique_ptr<CScriptSection> header = std::make_unique<CScriptHeader>("App", "Header");
    EXPECT_NE(dynamic_cast<CScriptHeader*>(header.get()), nullptr);
}

TEST(HostClasses, ValuesTravelThroughArguments) {
    CScriptArguments list(0);
    CScriptArgument argument(&CScriptArgument::delete_callback, new host_value);
    argument.argument()->set_int(7);
    list.insert(argument);
    list.reset_index();
    EXPECT_EQ(dynamic_cast<host_value&>(*list.next()->argument()).number, 7);
}

TEST(HostClasses, WithoutAPackageThereAreNoScripts) {
    const host_log log;
    log.open();
    CScriptStorageInterface storage;
    EXPECT_EQ(storage.next(), nullptr);
    host_value value;
    EXPECT_FALSE(CScriptStorageInterface::get_python_script(L"Default.py", &value));
    EXPECT_THROW(CScript(L"missing.sc"), std::exception);
    EXPECT_EQ(log.lines(),
              (strings{"ERROR    mvx\\morvantic\\scriptparser: [EXC] Script not found.",
                       "ERROR    mvx\\morvantic\\script: [EXC] Script not found."}));
}
