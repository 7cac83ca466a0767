#include <ovk/mailbox.h>

#include <cstdint>

std::uint32_t ovk_sli4_nop_cmd_rsp[6];
std::uint32_t ravn_sli4_dcbx_mode_cmd[4];
std::uint32_t ovk_sli4_get_ctrl_attr_cmd_rsp[139];
std::uint32_t ovk_sli4_get_dcbx_mode_cmd_rsp[5];
std::uint32_t ravn_sli4_dcbx_mode_rsp[5];
std::uint32_t ovk_sli4_read_fcf_table_cmd_rsp[145];

static_assert(sizeof ovk_sli4_nop_cmd_rsp == 24);
static_assert(sizeof ravn_sli4_dcbx_mode_cmd == 16);
static_assert(sizeof ovk_sli4_get_ctrl_attr_cmd_rsp == 556);
static_assert(sizeof ovk_sli4_get_dcbx_mode_cmd_rsp == 20);
static_assert(sizeof ravn_sli4_dcbx_mode_rsp == 20);
static_assert(sizeof ovk_sli4_read_fcf_table_cmd_rsp == 580);

std::uint32_t OVK_SendHarrowCommand(std::uint32_t /*board*/, ...) { return OVK_NOT_SUPPORTED; }
