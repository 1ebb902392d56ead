// libjack is not built for the thread sanitizer: its lock-free ring buffers
// (RtMidi's JACK output goes through one) copy with plain memcpy on both
// sides and order them with barriers the sanitizer can't see. Those reports
// are left out; everything of ours stays checked.

extern "C" const char* __tsan_default_suppressions()
{
    return "race:jack_ringbuffer_read\n"
           "race:jack_ringbuffer_peek\n"
           "race:jack_ringbuffer_write\n";
}
