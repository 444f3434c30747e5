// The order in which the program's static objects are built. Later groups depend on earlier ones
// (a debug stream's channel number is its place in the registry), so the order cannot be left to
// the linker. Destruction runs in the reverse order.
#pragma once

// The image store over the cache comes first and goes last: every holder of skin images may
// still release into it while being destroyed.
#define ORLU_INIT_IMAGE_STORE __attribute__((init_priority(900)))
#define ORLU_INIT_DATABASE __attribute__((init_priority(1000)))
#define ORLU_INIT_APPLICATION __attribute__((init_priority(1100)))
#define ORLU_INIT_TOOLKIT __attribute__((init_priority(1200)))
#define ORLU_INIT_DEBUG_STREAMS __attribute__((init_priority(1300)))
