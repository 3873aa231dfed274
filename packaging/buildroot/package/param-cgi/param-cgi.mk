################################################################################
#
# param-cgi
#
################################################################################

# The tree that this folder is part of.
PARAM_CGI_SITE = $(realpath $(BR2_EXTERNAL_PARAM_CGI_PATH)/../..)
PARAM_CGI_SITE_METHOD = local

PARAM_CGI_CONF_OPTS = \
	-DPARAM_BUILD_HOST_TOOLS=OFF \
	-DPARAM_ESCAPE_LIBRARY=$(call qstrip,$(BR2_PACKAGE_PARAM_CGI_ESCAPE_LIBRARY))

ifeq ($(BR2_PACKAGE_PARAM_CGI_CAMERA_CHECK),y)
PARAM_CGI_CONF_OPTS += -DPARAM_CAMERA_CHECK=ON
else
PARAM_CGI_CONF_OPTS += -DPARAM_CAMERA_CHECK=OFF
endif

$(eval $(cmake-package))
