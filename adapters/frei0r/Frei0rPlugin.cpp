// The exported frei0r entry points of one plugin. frei0r hosts load one effect
// per shared object, so this file is compiled once per catalogue row with
// HALCYRA_FREI0R_ROW and HALCYRA_FREI0R_NAME set; everything else is shared.
#include "adapters/frei0r/Frei0rAdapter.h"

#ifndef HALCYRA_FREI0R_ROW
#error "HALCYRA_FREI0R_ROW must give the catalogue row of this plugin"
#endif
#ifndef HALCYRA_FREI0R_NAME
#error "HALCYRA_FREI0R_NAME must give the display name of this plugin"
#endif

extern "C" {

int f0r_init(void) {
    return halcyra::frei0r::Init(HALCYRA_FREI0R_ROW);
}

void f0r_deinit(void) {
    halcyra::frei0r::Deinit();
}

void f0r_get_plugin_info(f0r_plugin_info_t* info) {
    halcyra::frei0r::GetPluginInfo(info, HALCYRA_FREI0R_NAME);
}

void f0r_get_param_info(f0r_param_info_t* info, int param_index) {
    halcyra::frei0r::GetParamInfo(info, param_index);
}

f0r_instance_t f0r_construct(unsigned int width, unsigned int height) {
    return halcyra::frei0r::Construct(width, height);
}

void f0r_destruct(f0r_instance_t instance) {
    halcyra::frei0r::Destruct(instance);
}

void f0r_set_param_value(f0r_instance_t instance, f0r_param_t param, int param_index) {
    halcyra::frei0r::SetParamValue(instance, param, param_index);
}

void f0r_get_param_value(f0r_instance_t instance, f0r_param_t param, int param_index) {
    halcyra::frei0r::GetParamValue(instance, param, param_index);
}

void f0r_update(f0r_instance_t instance, double time, const uint32_t* inframe, uint32_t* outframe) {
    halcyra::frei0r::Update(instance, time, inframe, nullptr, outframe);
}

void f0r_update2(f0r_instance_t instance, double time, const uint32_t* inframe1, const uint32_t* inframe2,
                 const uint32_t*, uint32_t* outframe) {
    halcyra::frei0r::Update(instance, time, inframe1, inframe2, outframe);
}

}  // extern "C"
