// Linked into a program, makes it take the processor for a lesser one: with AVX2 but no AVX-512 or, with LEAST, with
// SSE2 alone. Stands in front of the compiler's own function, which is to be renamed to probeProcessor
// (bench/against.sh).
extern "C" {
struct ProcessorModel {
    unsigned vendor, type, subtype, features;
};
extern ProcessorModel __cpu_model __attribute__((visibility("hidden")));
extern unsigned __cpu_features2[] __attribute__((visibility("hidden")));
__attribute__((visibility("hidden"))) int probeProcessor();

// Called before anything else, also where functions are chosen while the program is loaded.
__attribute__((visibility("hidden"))) int __cpu_indicator_init()
{
    if (__cpu_model.vendor != 0)
        return 0;
    probeProcessor();
#ifdef LEAST
    __cpu_model.features &= 0x1f;  // up to SSE2
    for (int i = 0; i < 3; ++i)
        __cpu_features2[i] = 0;
#else
    __cpu_model.features &= ~0xfff08000u;  // of AVX-512
#endif
    return 0;
}
}
