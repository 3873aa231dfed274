################################################################################
#
# param-cgi
#
################################################################################

# The tree that this folder is part of.
PARAM_CGI_SITE = $(realpath $(BR2_EXTERNAL_PARAM_CGI_PATH)/../..)
PARAM_CGI_SITE_METHOD = local
PARAM_CGI_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = --exclude=/build
PARAM_CGI_VERSION := $(shell sed -n 's/^project.* VERSION \([0-9.]*\).*/\1/p' $(PARAM_CGI_SITE)/CMakeLists.txt)

# No licence has been chosen by the owner.
PARAM_CGI_LICENSE = PROPRIETARY
PARAM_CGI_REDISTRIBUTE = NO

# What a field report names the build by. The copy that is built has no history any more.
ifneq ($(wildcard $(PARAM_CGI_SITE)/.git),)
PARAM_CGI_BUILD_ID := $(shell git -C $(PARAM_CGI_SITE) describe --tags --always --dirty 2>/dev/null)
endif

PARAM_CGI_CONF_OPTS = \
	-DPARAM_BUILD_HOST_TOOLS=OFF \
	-DPARAM_BUILD_ID=$(PARAM_CGI_BUILD_ID) \
	-DPARAM_ESCAPE_LIBRARY=$(call qstrip,$(BR2_PACKAGE_PARAM_CGI_ESCAPE_LIBRARY))

ifeq ($(BR2_PACKAGE_PARAM_CGI_CAMERA_CHECK),y)
PARAM_CGI_CONF_OPTS += -DPARAM_CAMERA_CHECK=ON
else
PARAM_CGI_CONF_OPTS += -DPARAM_CAMERA_CHECK=OFF
endif

$(eval $(cmake-package))
