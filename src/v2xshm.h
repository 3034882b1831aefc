#ifndef V2XSHM_V2XSHM_H
#define V2XSHM_V2XSHM_H

// Every public header of the library.

#include "shm/SHMTool.h"
#include "shm/IFSHM.h"
#include "shm/IFRefreshable.h"
#include "shm/TimeTool.h"
#include "shm/TimeBase.h"
#include "shm/CountedList.h"
#include "shm/ConfigInfo.h"
#include "shm/DevConfigMng.h"

#include "codec/SerializeTool.h"
#include "codec/VI2CFrame.h"
#include "codec/VI2CFrameStream.h"
#include "codec/RTCMShortFrame.h"

#include "space/IFPosition.h"
#include "space/SpaceTool.h"
#include "space/SpaceToolGeo.h"
#include "space/GNSS.h"
#include "space/DevGNSSMng.h"
#include "space/VehTrace.h"
#include "space/VehTraceMng.h"

#include "localmap/LMNodeBase.h"
#include "localmap/LMPointBase.h"
#include "localmap/LMLaneExtend.h"
#include "localmap/LMLinkExtend.h"
#include "localmap/LMNodeExtend.h"
#include "localmap/LMNodeListMng.h"
#include "localmap/LMMapRes.h"
#include "localmap/LMMapResMng.h"
#include "localmap/LMMessageCheck.h"

#include "ptc/IFPTCBase.h"
#include "ptc/PTC.h"
#include "ptc/OBU.h"
#include "ptc/RSU.h"
#include "ptc/TargetBase.h"
#include "ptc/TgtCollision.h"
#include "ptc/PtcListTool.h"
#include "ptc/PTCListMng.h"
#include "ptc/PtcOBUListMng.h"
#include "ptc/PtcRSUListMng.h"
#include "ptc/PtcLocalIDMng.h"
#include "ptc/DevPTCGivenIDMng.h"
#include "ptc/TargetMng.h"
#include "ptc/TgtCollisionMng.h"

#include "status/VehStatus.h"
#include "status/VehStatusMng.h"
#include "status/CommInfo.h"
#include "status/CommRecord.h"
#include "status/CommRecordMng.h"
#include "status/CommSumMng.h"
#include "status/UIClient.h"
#include "status/DevUIClientMng.h"

#endif
