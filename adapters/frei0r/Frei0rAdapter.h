// The frei0r side of one catalogue row: loading libhalcyra.so beside the
// plugin, describing the row's parameters in frei0r's terms, and the instances
// that hold parameter values and render frames. Every plugin file links this
// code once; its own entry points only say which row it stands for.
#pragma once

#include <cstdint>

// The header declares the entry points without C linkage of its own. They
// must stay visible although the project hides symbols by default: the
// declarations seen first decide their visibility.
#pragma GCC visibility push(default)
extern "C" {
#include <frei0r.h>
}
#pragma GCC visibility pop

namespace halcyra::frei0r {

// Loads the library and reads the row's records; 1 on success, 0 when the
// library or the row is missing. Calls nest: each Init wants one Deinit.
int Init(int32_t row);
void Deinit();

// `fallbackName` names the plugin when Init failed, so a host can still list it.
void GetPluginInfo(f0r_plugin_info_t* info, const char* fallbackName);
void GetParamInfo(f0r_param_info_t* info, int index);

f0r_instance_t Construct(unsigned int width, unsigned int height);
void Destruct(f0r_instance_t instance);
void SetParamValue(f0r_instance_t instance, f0r_param_t param, int index);
void GetParamValue(f0r_instance_t instance, f0r_param_t param, int index);

// `second` may be null (filters, or a mixer driven through f0r_update): the
// first frame stands in for it.
void Update(f0r_instance_t instance, double time, const uint32_t* first, const uint32_t* second,
            uint32_t* output);

}  // namespace halcyra::frei0r
