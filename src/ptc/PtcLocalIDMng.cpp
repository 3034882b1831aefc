#include "ptc/PtcLocalIDMng.h"

uint16_t PtcLocalIDMng::next_id = 1;
pthread_mutex_t PtcLocalIDMng::mut = PTHREAD_MUTEX_INITIALIZER;

unsigned short PtcLocalIDMng::getNextLocalID()
{
    pthread_mutex_lock(&mut);
    uint16_t taken = next_id++;
    if (taken == 0) {
        // 65535 wrapped round: 0 stays free to mean "not listed".
        taken = next_id++;
    }
    pthread_mutex_unlock(&mut);
    return taken;
}
